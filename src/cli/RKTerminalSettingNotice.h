#pragma once

#include "settings/RKSettingNotice.h"

#include <QCoreApplication>

// Tells on standard error that the settings could not be read, where the
// copy is, and that this run uses the factory settings.
class RKTerminalSettingNotice : public RKSettingNotice
{
    Q_DECLARE_TR_FUNCTIONS(RKTerminalSettingNotice)

public:
    void settingsFileSetAside(const QString& copyPath) override;
    void settingsValueSetAside(const QString& settingsPath, const QString& key) override;
};
