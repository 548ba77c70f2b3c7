#pragma once

#include <QWidget>

class SRRecorderControl;

// The cell of a profile list's key-combination column: a recorder that fills
// the cell, drawn without border or background so the row's own colours show.
class RKShortCutTableCellView : public QWidget
{
    Q_OBJECT

public:
    explicit RKShortCutTableCellView(QWidget* parent = nullptr);

    SRRecorderControl* shortCutControl() const { return m_shortCutControl; }

    // Shows the combination (keys alone allowed, Escape not recorded). A
    // read-only recorder is disabled and lets clicks through to the table.
    // Hidden when there is no combination (code with all bits set, flags 0).
    void setShortCut(quint64 code, qint64 flags, bool readonly);

private:
    SRRecorderControl* m_shortCutControl;
};
