#include "ui/RKRadioMatrix.h"

#include <QAbstractButton>
#include <QGridLayout>

namespace {
constexpr int kColumns = 2;
}

RKRadioMatrix::RKRadioMatrix(QWidget* parent)
    : QWidget(parent)
{
}

QAbstractButton* RKRadioMatrix::cellAtRowColumn(int row, int column) const
{
    auto* grid = qobject_cast<QGridLayout*>(layout());
    if (!grid || row < 0 || column < 0 || column >= kColumns || row >= grid->rowCount()) {
        return nullptr;
    }
    QLayoutItem* item = grid->itemAtPosition(row, column);
    return item ? qobject_cast<QAbstractButton*>(item->widget()) : nullptr;
}

qint32 RKRadioMatrix::selectedValue() const
{
    auto* grid = qobject_cast<QGridLayout*>(layout());
    const int rows = grid ? grid->rowCount() : 0;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < kColumns; ++column) {
            QAbstractButton* button = cellAtRowColumn(row, column);
            if (button && button->isChecked()) {
                return row * kColumns + column;
            }
        }
    }
    return 0;
}

void RKRadioMatrix::selectValue(qint32 value)
{
    if (value < 0) {
        return;
    }
    if (QAbstractButton* button = cellAtRowColumn(value / kColumns, value % kColumns)) {
        button->setChecked(true);
    }
}
