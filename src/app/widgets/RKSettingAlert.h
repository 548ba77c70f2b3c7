#pragma once

#include "settings/RKSettingNotice.h"

#include <QPointer>
#include <QWidget>

// The application's word that the settings could not be read: an alert,
// modal to the main window once it is set, that names the copy. It is shown
// from the event loop, so a copy made while the application starts is told
// once the main window is up. Any thread may tell it.
class RKSettingAlert : public RKSettingNotice
{
public:
    void setWindow(QWidget* window) { m_window = window; }

    void settingsFileSetAside(const QString& copyPath) override;
    void settingsValueSetAside(const QString& settingsPath, const QString& key) override;

    // The alert's text for a copy.
    static QString fileSetAsideText(const QString& copyPath);
    static QString valueSetAsideText(const QString& settingsPath, const QString& key);

private:
    void show(const QString& informativeText);

    QPointer<QWidget> m_window;
};
