#pragma once

#include "unarchive/RKUnArchiveBase.h"

// Several archives, each extracted next to itself.
class RKUnArchiveMultiSameSource : public RKUnArchiveBase
{
    Q_OBJECT

public:
    using RKUnArchiveBase::RKUnArchiveBase;

protected:
    void prepareSavePaths() override;
};
