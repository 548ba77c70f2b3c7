#pragma once

#include "archive/RKArchiveBase.h"

// All items in one archive named after the first item, saved in the
// folder that holds it; the profile's same-name policy settles a clash.
class RKArchiveSingleSameSource : public RKArchiveBase
{
    Q_OBJECT

public:
    using RKArchiveBase::RKArchiveBase;

protected:
    void prepareSavePaths() override;
    void prepareArchiveFiles() override;
};
