#pragma once

#include "settings/RKUnArchiveProfileSetting.h"
#include "zip/RQError.h"

#include <QList>
#include <QObject>
#include <QString>

// Extracts one archive into one destination folder with progress, password
// prompt and cancel (the unarchive runner window). Main thread.
class RKUnArchiveRunner
{
public:
    virtual ~RKUnArchiveRunner() = default;

    // Centres the runner over centreOver, starts the run and runs its modal
    // loop. Returns when the run has ended (done, failed or cancelled).
    virtual void runUnArchive(QObject* centreOver, const QString& archivePath,
                              const RKUnArchiveProfileSetting& profile,
                              const QString& destinationFolder) = 0;

    // The errors of the last run, in order.
    virtual QList<RQError> errors() const = 0;
    // The password typed for the last run; null when the archive was not encrypted.
    virtual QString usedPassword() const = 0;
    // Whether the last run was cancelled.
    virtual bool wasCancelled() const { return false; }
};
