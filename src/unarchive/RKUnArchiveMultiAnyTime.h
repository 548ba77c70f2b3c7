#pragma once

#include "unarchive/RKUnArchiveBase.h"

// Several archives, all into one folder asked once from the user.
class RKUnArchiveMultiAnyTime : public RKUnArchiveBase
{
    Q_OBJECT

public:
    using RKUnArchiveBase::RKUnArchiveBase;

protected:
    void prepareSavePaths() override;
};
