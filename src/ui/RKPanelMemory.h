#pragma once

#include <QString>

class QFileDialog;

// The save and open panels between jobs: their size, view (list or
// details), column widths and side bar are kept under a name of their own,
// and the detail columns are widened to what they show whenever a folder has
// been read, so that sizes, kinds and dates are never cut. The name column
// takes the width that is left (at least a third of the view).
class RKPanelMemory
{
public:
    // Restores what the last panel of this name kept, and keeps this one's
    // when it closes. Call before the panel's folder and file are set: the
    // kept state opens the folder last shown.
    static void attach(QFileDialog* panel, const QString& name);

    // Widens the detail columns (size, kind, date) to their contents and
    // gives the name column what is left of the view's width.
    static void fitColumns(QFileDialog* panel);
};
