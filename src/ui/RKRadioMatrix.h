#pragma once

#include <QWidget>

class QAbstractButton;

// A group of radio buttons laid out two to a row in a grid. The value of a
// button is the number of its cell counted row by row: cell (0, 0) is 0,
// (0, 1) is 1, (1, 0) is 2. The buttons are this widget's children in its
// grid layout (placed there by the form), so they exclude each other.
class RKRadioMatrix : public QWidget
{
    Q_OBJECT

public:
    explicit RKRadioMatrix(QWidget* parent = nullptr);

    // The button in a cell; nullptr when the cell is empty.
    QAbstractButton* cellAtRowColumn(int row, int column) const;
    // The value of the checked button; 0 when none is checked.
    qint32 selectedValue() const;
    // Checks the button of value; a value without a button leaves the
    // selection as it is.
    void selectValue(qint32 value);
};
