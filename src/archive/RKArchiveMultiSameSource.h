#pragma once

#include "archive/RKArchiveBase.h"

// One archive per item, named after it and saved in the folder that holds
// it. The profile's same-name policy settles a clash, also with a location an
// earlier item of the same request got (a.txt and a.rtf both give a.zip).
class RKArchiveMultiSameSource : public RKArchiveBase
{
    Q_OBJECT

public:
    using RKArchiveBase::RKArchiveBase;

protected:
    void prepareSavePaths() override;
    void prepareArchiveFiles() override;
    bool isChosenEarlier(const QString& location) const override;

    // One location step: appends the location just decided (none at
    // first), then decides the next item's, or goes on once every item has one.
    void checkSaveUrl(const QStringList& urls);

private:
    // The locations chosen so far, one per item, in item order.
    QStringList wkPaths;
};
