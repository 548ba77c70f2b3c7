#pragma once

#include <QComboBox>

// Pop-up of the compression levels 0 to 9; the item index is the level.
class RKArchiveLevelPopUpButton : public QComboBox
{
    Q_OBJECT

public:
    explicit RKArchiveLevelPopUpButton(QWidget* parent = nullptr);

    // Removes all items and adds the ten titles.
    void awakeFromNib();

    // The selected index when it is 1 to 9, else 0.
    qint32 selectedArchiveLevel() const;
    // Selects the item of a level 0 to 9; any other value leaves the selection.
    void setSelectArchiveLevel(qint32 level);
};
