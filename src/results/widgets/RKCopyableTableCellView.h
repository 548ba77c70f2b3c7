#pragma once

#include <QString>
#include <QWidget>

class QLabel;
class QToolButton;

// A value cell of the result window: the text (masked or not) and a button
// that puts the value, always in clear, on the clipboard.
class RKCopyableTableCellView : public QWidget
{
    Q_OBJECT

public:
    explicit RKCopyableTableCellView(QWidget* parent = nullptr);

    // Stores the value; the cell shows it, or one "*" per UTF-16 unit of it
    // when hidden is on.
    void setLabelString(const QString& string, bool hidden);

    QString innerString() const { return m_innerString; }
    QString showString() const { return m_showString; }
    QLabel* textField() const { return m_textField; }
    QToolButton* btnCopy() const { return m_btnCopy; }

public slots:
    void btnCopyTouchUpInside();

private:
    QString m_innerString;
    QString m_showString;
    QLabel* m_textField;
    QToolButton* m_btnCopy;
};
