#pragma once

#include "archive/RKArchiveSingleAnyTime.h"

// One archive per item, each saved where the user says in a save panel
// proposing the item's name. Nothing is made when any panel is cancelled.
// Replaces both operations of its base class and inherits none of its
// behaviour.
class RKArchiveMultiAnyTime : public RKArchiveSingleAnyTime
{
    Q_OBJECT

public:
    using RKArchiveSingleAnyTime::RKArchiveSingleAnyTime;

protected:
    void prepareSavePaths() override;
    void prepareArchiveFiles() override;
    bool isChosenEarlier(const QString& location) const override;

    // One location step: asks for the location of the next item, or goes on
    // with the locations once every item has one.
    void checkSaveUrl();

private:
    // The locations chosen so far, one per item, in item order.
    QStringList wkPaths;
};
