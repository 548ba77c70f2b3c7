#pragma once

#include "settings/RKProfileSetting.h"
#include "zip/RQError.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

// Makes one archive with progress and cancel (the archive runner window).
// Main thread.
class RKArchiveRunner
{
public:
    virtual ~RKArchiveRunner() = default;

    // Centres the runner over centreOver, starts the archive at url with the
    // given contents and profile (the password is worked out here, once per
    // archive), and runs the runner's modal loop. Returns when the archive has
    // ended: finished, finished with errors, or cancelled.
    virtual void runArchive(QObject* centreOver, const QStringList& filePaths,
                            const RKProfileSetting& profile, const QString& url) = 0;

    // The password worked out for the last archive: null when the profile
    // asks for none; empty when one was asked for and none was given (the
    // archive is then not encrypted).
    virtual QString usedPassword() const = 0;
    // The errors of the last archive, in the order reported.
    virtual QList<RQError> errors() const = 0;
    // The CRC-32 ("%08lX") of the last archive once it was read back and
    // passed; null when it was not checked or failed.
    virtual QString verifyCrc() const { return QString(); }
    // Whether the last archive was cancelled (and so not made).
    virtual bool wasCancelled() const { return false; }
};
