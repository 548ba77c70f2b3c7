#include "zip/RQUnZipArchiverDelegate.h"

void RQUnZipArchiverDelegate::unArchiverArchiveStarted(RQUnZipArchiver*, int) {}
void RQUnZipArchiverDelegate::unArchiverArchiveProgress(RQUnZipArchiver*, int, int, const QString&) {}
void RQUnZipArchiverDelegate::unArchiverArchiveProgressInFile(RQUnZipArchiver*, quint64, quint64,
                                                              const QString&) {}
void RQUnZipArchiverDelegate::unArchiverArchiveFinished(RQUnZipArchiver*, const QString&) {}
void RQUnZipArchiverDelegate::unArchiverArchiveCancelled(RQUnZipArchiver*) {}
void RQUnZipArchiverDelegate::unArchiverArchiveError(RQUnZipArchiver*, const RQError&) {}
