#pragma once

#include "unarchive/RKUnArchiveBase.h"

// One archive, extracted next to itself.
class RKUnArchiveSingleSameSource : public RKUnArchiveBase
{
    Q_OBJECT

public:
    using RKUnArchiveBase::RKUnArchiveBase;

protected:
    void prepareSavePaths() override;
};
