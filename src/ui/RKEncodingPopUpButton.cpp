#include "ui/RKEncodingPopUpButton.h"

#include "settings/RKConstants.h"

RKEncodingPopUpButton::RKEncodingPopUpButton(QWidget* parent)
    : QComboBox(parent)
{
    awakeFromNib();
}

void RKEncodingPopUpButton::awakeFromNib()
{
    clear();
    addItems(RKConstants::EncodeNameLists());
}

quint64 RKEncodingPopUpButton::selectedEncoding() const
{
    const QList<qint32> codes = RKConstants::EncodeCodeLists();
    const int index = currentIndex();
    if (index < 0 || index >= codes.size()) {
        return 0;
    }
    return static_cast<quint64>(static_cast<qint64>(codes.at(index)));
}

void RKEncodingPopUpButton::setSelectEncoding(quint64 encoding)
{
    // Only the low 32 bits of an encoding value mean anything, so a stored
    // value with or without the sign-extended upper half finds the same row.
    // The first row wins: 10 always shows "Unicode(UTF-16)", never row 17.
    const QList<qint32> codes = RKConstants::EncodeCodeLists();
    for (int index = 0; index < codes.size() && index < count(); ++index) {
        if (static_cast<quint32>(codes.at(index)) == static_cast<quint32>(encoding)) {
            setCurrentIndex(index);
            return;
        }
    }
}
