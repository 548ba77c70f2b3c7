#pragma once

#include "zip/RQError.h"

#include <QString>

class RQUnZipArchiver;

// Notices of an unarchive run. Every notice is optional (empty default body).
// They may come from the caller's thread (the first step) or from the run's
// worker thread; a receiver hands any window work to the main thread.
class RQUnZipArchiverDelegate
{
public:
    virtual ~RQUnZipArchiverDelegate() = default;

    // Once, after the listing succeeded, before the first step.
    virtual void unArchiverArchiveStarted(RQUnZipArchiver* unarchiver, int total);
    // At the start of each step: progress = index + 1, the entry name as listed.
    virtual void unArchiverArchiveProgress(RQUnZipArchiver* unarchiver, int progress, int total,
                                           const QString& unArchivingFileName);
    // While a large entry is extracted (every few MiB): bytes written so far,
    // the entry's size, the path written.
    virtual void unArchiverArchiveProgressInFile(RQUnZipArchiver* unarchiver, quint64 progress,
                                                 quint64 total, const QString& sourceFileName);
    // Once per run: after the last entry, after an open or listing failure, or
    // after an unexpected failure. Not sent after a cancel.
    virtual void unArchiverArchiveFinished(RQUnZipArchiver* unarchiver,
                                           const QString& unArchiveFilePath);
    // Once, when a step finds the cancel flag set.
    virtual void unArchiverArchiveCancelled(RQUnZipArchiver* unarchiver);
    // For every error, right after it was added to errors().
    virtual void unArchiverArchiveError(RQUnZipArchiver* unarchiver, const RQError& errror);
};
