#pragma once

#include <QComboBox>

// Pop-up of the archive modes: index 0 one archive for all items, index 1 one
// archive per item (the archiveMode values).
class RKArchiveModePopUpButton : public QComboBox
{
    Q_OBJECT

public:
    explicit RKArchiveModePopUpButton(QWidget* parent = nullptr);

    // Removes all items and adds the two titles.
    void awakeFromNib();

    // 1 when index 1 is selected, else 0.
    qint32 selectedArchiveMode() const;
    // Selects index 0 for 0 and index 1 for 1; any other value leaves the selection.
    void setSelecteArchiveMode(qint32 mode);
};
