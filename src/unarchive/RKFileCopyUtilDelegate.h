#pragma once

#include "zip/RQError.h"

#include <QString>

class RKFileCopyUtil;

// Notices of a placement. Every notice is optional (empty default body) and is
// sent on the placement's worker thread; a receiver hands window work to the
// main thread. Exactly one of Finished, Canceled and Error ends a placement.
class RKFileCopyUtilDelegate
{
public:
    virtual ~RKFileCopyUtilDelegate() = default;

    // Once, before the first step; total counts the working folder too.
    virtual void fileCopyUtilCopyStarted(RKFileCopyUtil* util, int total);
    // At every step after the first, before the destination is examined:
    // progress = index + 1, copyFileName = the item's path in the working folder.
    virtual void fileCopyUtilCopyProgress(RKFileCopyUtil* util, int progress, int total,
                                          const QString& copyFileName);
    // Once, after the execute-permission fix that follows the last step.
    virtual void fileCopyUtilCopyFinished(RKFileCopyUtil* util);
    // Once, when a step finds the cancel flag set or a panel was cancelled.
    virtual void fileCopyUtilCopyCanceled(RKFileCopyUtil* util);
    // Once, for the failure that stops the placement (file-copy codes 1 and 2).
    virtual void fileCopyUtilCopyError(RKFileCopyUtil* util, const RQError& errror);
};
