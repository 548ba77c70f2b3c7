#pragma once

#include "settings/RKPasswordPrompt.h"

// The application's password prompts: the manual password window of an
// archive profile and the password window of an encrypted archive.
class RKAppPasswordPrompt : public RKPasswordPrompt
{
public:
    QString showPasswordDialog(QObject* window, const RKProfileSetting& profile) override;
    QString askUnArchivePassword(QObject* runnerWindow, const QString& archivePath,
                                 int attempt) override;
};
