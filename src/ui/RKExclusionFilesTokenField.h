#pragma once

#include <QLineEdit>
#include <QString>
#include <QStringList>

// The field in which exclusion patterns are edited: the patterns joined by
// ",". A pattern completed with "," or Return (the text before the cursor in
// its piece) is not added when the field holds it already, and neither is a
// pasted or dropped pattern; when editing ends, later repeats are removed
// (the first occurrence wins, exact comparison).
class RKExclusionFilesTokenField : public QLineEdit
{
    Q_OBJECT

public:
    explicit RKExclusionFilesTokenField(QWidget* parent = nullptr);

    // Shows the list, joined by "," in list order.
    void setExclusionFiles(const QStringList& exclusionFiles);
    // The text split at every ","; an empty text gives one empty string.
    QStringList arrayExclusionFiles() const;

    // Of the tokens about to be added at index, those that the field does
    // not hold already at another position (exact comparison).
    QStringList checkTokens(const QStringList& tokens, int index) const;
    QStringList shouldAddObjects(const QStringList& tokens, int index) const
    {
        return checkTokens(tokens, index);
    }

    // Removes later repeats of a pattern, keeping the order.
    static QString cleanedTokens(const QString& text);

public slots:
    void textDidEndEditing();

    // Inserts pasted text at the cursor (over the selection), leaving out
    // each piece that would repeat a pattern of the field or an earlier
    // piece of the paste. A piece is compared as it will stand: the first
    // joined to the text before the cursor, the last to the text after it.
    void pastePieces(const QString& pasted);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    // Checks the text before the cursor in its piece as a pattern being
    // added; false when it was a repeat and has been taken out again (the
    // text after the cursor stays). separatorTyped: the separator before the
    // pattern stays for what follows; after Return a piece left empty goes
    // with a separator.
    bool completeToken(bool separatorTyped);
};
