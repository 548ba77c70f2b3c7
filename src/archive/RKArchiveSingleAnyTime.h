#pragma once

#include "archive/RKArchiveBase.h"

// All items in one archive, saved where the user says in a save panel
// proposing the first item's name. The panel's own replace confirmation is the
// only same-name check.
class RKArchiveSingleAnyTime : public RKArchiveBase
{
    Q_OBJECT

public:
    using RKArchiveBase::RKArchiveBase;

protected:
    void prepareSavePaths() override;
    void prepareArchiveFiles() override;
};
