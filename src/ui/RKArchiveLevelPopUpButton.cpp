#include "ui/RKArchiveLevelPopUpButton.h"

RKArchiveLevelPopUpButton::RKArchiveLevelPopUpButton(QWidget* parent)
    : QComboBox(parent)
{
    awakeFromNib();
}

void RKArchiveLevelPopUpButton::awakeFromNib()
{
    clear();
    // The blank after the digit is U+3000 IDEOGRAPHIC SPACE.
    addItem(QString::fromUtf16(u"0\u3000(非圧縮)"));
    addItem(QString::fromUtf16(u"1\u3000(速度重視)"));
    for (int level = 2; level <= 8; ++level) {
        addItem(QString::number(level));
    }
    addItem(QString::fromUtf16(u"9\u3000(圧縮率重視)"));
}

qint32 RKArchiveLevelPopUpButton::selectedArchiveLevel() const
{
    const int index = currentIndex();
    return index >= 1 && index <= 9 ? index : 0;
}

void RKArchiveLevelPopUpButton::setSelectArchiveLevel(qint32 level)
{
    if (level >= 0 && level <= 9 && level < count()) {
        setCurrentIndex(level);
    }
}
