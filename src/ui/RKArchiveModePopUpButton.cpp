#include "ui/RKArchiveModePopUpButton.h"

RKArchiveModePopUpButton::RKArchiveModePopUpButton(QWidget* parent)
    : QComboBox(parent)
{
    awakeFromNib();
}

void RKArchiveModePopUpButton::awakeFromNib()
{
    clear();
    addItem(QString::fromUtf16(u"1つのファイルに圧縮する"));
    addItem(QString::fromUtf16(u"個別のファイルで圧縮する"));
}

qint32 RKArchiveModePopUpButton::selectedArchiveMode() const
{
    return currentIndex() == 1 ? 1 : 0;
}

void RKArchiveModePopUpButton::setSelecteArchiveMode(qint32 mode)
{
    if ((mode == 0 || mode == 1) && mode < count()) {
        setCurrentIndex(mode);
    }
}
