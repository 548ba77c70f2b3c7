#pragma once

#include "zip/RQError.h"

#include <QString>

class RQZipArchiver;

// Notices of an archive run. Every notice is optional (empty default body).
// Notices come from the run's worker thread unless stated otherwise; a
// receiver hands any window work to the main thread.
class RQZipArchiverDelegate
{
public:
    virtual ~RQZipArchiverDelegate() = default;

    // Once, on the caller's thread, as the first step is launched.
    virtual void archiverArchiveStarted(RQZipArchiver* archiver, int total);
    // At the start of each step whose item exists: progress = index + 1.
    virtual void archiverArchiveProgress(RQZipArchiver* archiver, int progress, int total,
                                         const QString& archivingFileName);
    // After each chunk of a file item: bytes written before the chunk, item size.
    virtual void archiverArchiveProgressInFile(RQZipArchiver* archiver, quint64 progress,
                                               quint64 total, const QString& sourceFileName);
    // Once, after the last step (archive closed and in place), or at once on
    // the caller's thread for an empty contents list.
    virtual void archiverArchiveFinished(RQZipArchiver* archiver, const QString& archiveFilePath);
    // Once, when a step finds the cancel flag set (no finished notice then).
    virtual void archiverArchiveCancelled(RQZipArchiver* archiver);
    // For every error, right after it was added to errors().
    virtual void archiverArchiveError(RQZipArchiver* archiver, const RQError& errror);
};
