#pragma once

#include "unarchive/RKUnArchiveBase.h"

// Several archives, all into the profile's fixed folder.
class RKUnArchiveMultiStaticFolder : public RKUnArchiveBase
{
    Q_OBJECT

public:
    using RKUnArchiveBase::RKUnArchiveBase;

protected:
    void prepareSavePaths() override;
};
