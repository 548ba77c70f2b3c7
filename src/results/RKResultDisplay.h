#pragma once

#include "results/RKProcessResultInfo.h"

#include <QList>
#include <QObject>

// Shows a job's results and returns when the user has closed them (the
// result window runs as a modal loop). Main thread.
class RKResultDisplay
{
public:
    virtual ~RKResultDisplay() = default;

    // centreOver: the main window (a QWidget, or nullptr).
    virtual void showResults(QObject* centreOver, const QList<RKProcessResultInfo>& results) = 0;
};
