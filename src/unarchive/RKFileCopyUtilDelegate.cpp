#include "unarchive/RKFileCopyUtilDelegate.h"

void RKFileCopyUtilDelegate::fileCopyUtilCopyStarted(RKFileCopyUtil*, int) {}
void RKFileCopyUtilDelegate::fileCopyUtilCopyProgress(RKFileCopyUtil*, int, int, const QString&) {}
void RKFileCopyUtilDelegate::fileCopyUtilCopyFinished(RKFileCopyUtil*) {}
void RKFileCopyUtilDelegate::fileCopyUtilCopyCanceled(RKFileCopyUtil*) {}
void RKFileCopyUtilDelegate::fileCopyUtilCopyError(RKFileCopyUtil*, const RQError&) {}
