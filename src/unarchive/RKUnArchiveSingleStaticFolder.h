#pragma once

#include "unarchive/RKUnArchiveBase.h"

// One archive, extracted into the profile's fixed folder (made when missing).
class RKUnArchiveSingleStaticFolder : public RKUnArchiveBase
{
    Q_OBJECT

public:
    using RKUnArchiveBase::RKUnArchiveBase;

protected:
    void prepareSavePaths() override;
};
