#pragma once

#include "unarchive/RKUnArchiveBase.h"

// One archive, its destination asked from the user.
class RKUnArchiveSingleAnyTime : public RKUnArchiveBase
{
    Q_OBJECT

public:
    using RKUnArchiveBase::RKUnArchiveBase;

protected:
    void prepareSavePaths() override;
};
