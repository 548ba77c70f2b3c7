#pragma once

#include <QComboBox>

// Pop-up of the unarchive modes: index 0 extract as stored, index 1 extract
// into a new folder (the unArchiveMode values).
class RKUnArchiveModePopUpButton : public QComboBox
{
    Q_OBJECT

public:
    explicit RKUnArchiveModePopUpButton(QWidget* parent = nullptr);

    // Removes all items and adds the two titles.
    void awakeFromNib();

    // 1 when index 1 is selected, else 0.
    qint32 selectedUnArchiveMode() const;
    // Selects index 0 for 0 and index 1 for 1; any other value leaves the selection.
    void setSelecteUnArchiveMode(qint32 mode);
};
