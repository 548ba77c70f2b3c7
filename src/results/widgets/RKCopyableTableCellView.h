#pragma once

#include <QString>
#include <QWidget>

class QLabel;
class QToolButton;

// A value cell of the result window: the text (masked or not), a button that
// puts the value, always in clear, on the clipboard, and for a destination a
// button that shows it in the file manager.
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
    // A long text breaks into lines inside the column instead of running out
    // of it; the full text stays in the tooltip.
    void setWrapsText(bool wraps);
    // Shows the 「フォルダを開く」 button, for path (the archive written or the
    // folder extracted into); enabled while path exists. Empty: no button.
    void setShowItemPath(const QString& path);
    QString showItemPath() const { return m_showItemPath; }

    QLabel* textField() const { return m_textField; }
    QToolButton* btnCopy() const { return m_btnCopy; }
    QToolButton* btnShowFolder() const { return m_btnShowFolder; }

public slots:
    void btnCopyTouchUpInside();
    void btnShowFolderTouchUpInside();

signals:
    // A wrapping cell was given a new width by its view, at which its text
    // needs this height (never less than a row with a button).
    void heightNeeded(int height);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QString m_innerString;
    QString m_showString;
    QString m_showItemPath;
    QLabel* m_textField;
    QToolButton* m_btnCopy;
    QToolButton* m_btnShowFolder;
    int m_fittedWidth = -1;
};
