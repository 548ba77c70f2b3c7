#pragma once

#include <QComboBox>

// Pop-up of the 23 name encodings. The item index is the row of the encoding
// table; the value is the row's encoding number.
class RKEncodingPopUpButton : public QComboBox
{
    Q_OBJECT

public:
    explicit RKEncodingPopUpButton(QWidget* parent = nullptr);

    // Removes all items and adds the 23 titles.
    void awakeFromNib();

    // The value at the selected index, read as signed 32-bit and widened with
    // sign extension; 0 when nothing is selected.
    quint64 selectedEncoding() const;
    // Selects the first row whose value has the same low 32 bits; with no
    // match the selection stays.
    void setSelectEncoding(quint64 encoding);
};
