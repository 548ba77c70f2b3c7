#include "ui/RKUnArchiveModePopUpButton.h"

RKUnArchiveModePopUpButton::RKUnArchiveModePopUpButton(QWidget* parent)
    : QComboBox(parent)
{
    awakeFromNib();
}

void RKUnArchiveModePopUpButton::awakeFromNib()
{
    clear();
    addItem(QString::fromUtf16(u"そのまま解凍"));
    addItem(QString::fromUtf16(u"フォルダを作成してから解凍"));
}

qint32 RKUnArchiveModePopUpButton::selectedUnArchiveMode() const
{
    return currentIndex() == 1 ? 1 : 0;
}

void RKUnArchiveModePopUpButton::setSelecteUnArchiveMode(qint32 mode)
{
    if ((mode == 0 || mode == 1) && mode < count()) {
        setCurrentIndex(mode);
    }
}
