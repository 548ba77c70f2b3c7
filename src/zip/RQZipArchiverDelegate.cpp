#include "zip/RQZipArchiverDelegate.h"

void RQZipArchiverDelegate::archiverArchiveStarted(RQZipArchiver*, int) {}
void RQZipArchiverDelegate::archiverArchiveProgress(RQZipArchiver*, int, int, const QString&) {}
void RQZipArchiverDelegate::archiverArchiveProgressInFile(RQZipArchiver*, quint64, quint64,
                                                          const QString&) {}
void RQZipArchiverDelegate::archiverArchiveFinished(RQZipArchiver*, const QString&) {}
void RQZipArchiverDelegate::archiverArchiveCancelled(RQZipArchiver*) {}
void RQZipArchiverDelegate::archiverArchiveError(RQZipArchiver*, const RQError&) {}
