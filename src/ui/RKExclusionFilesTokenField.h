#pragma once

#include <QLineEdit>
#include <QString>
#include <QStringList>

// The field in which exclusion patterns are edited: the patterns joined by
// ",". A pattern completed with "," or Return is not added when the field
// holds it already; when editing ends, later repeats are removed (the first
// occurrence wins, exact comparison).
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

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    // Checks the token at the cursor as one being added; false when it was a
    // repeat and has been taken out again. typingOn: a separator was typed,
    // so the one before the token stays for the next token.
    bool completeToken(bool typingOn);
};
