#include "ui/RKExclusionFilesTokenField.h"

#include <QKeyEvent>
#include <QSet>

namespace {
const QChar kSeparator = QLatin1Char(',');
}

RKExclusionFilesTokenField::RKExclusionFilesTokenField(QWidget* parent)
    : QLineEdit(parent)
{
    connect(this, &QLineEdit::editingFinished, this,
            &RKExclusionFilesTokenField::textDidEndEditing);
}

void RKExclusionFilesTokenField::setExclusionFiles(const QStringList& exclusionFiles)
{
    setText(exclusionFiles.join(kSeparator));
}

QStringList RKExclusionFilesTokenField::arrayExclusionFiles() const
{
    return text().split(kSeparator);
}

QStringList RKExclusionFilesTokenField::checkTokens(const QStringList& tokens, int index) const
{
    const QStringList existing = text().split(kSeparator);
    QStringList accepted;
    for (const QString& token : tokens) {
        bool duplicate = false;
        for (int position = 0; position < existing.size(); ++position) {
            // The field already holds the token being added at its index.
            if (position != index && existing[position] == token) {
                duplicate = true;
                break;
            }
        }
        if (!duplicate) {
            accepted.append(token);
        }
    }
    return accepted;
}

QString RKExclusionFilesTokenField::cleanedTokens(const QString& text)
{
    QStringList kept;
    QSet<QString> seen;
    for (const QString& piece : text.split(kSeparator)) {
        if (!seen.contains(piece)) {
            seen.insert(piece);
            kept.append(piece);
        }
    }
    return kept.join(kSeparator);
}

void RKExclusionFilesTokenField::textDidEndEditing()
{
    const QString cleaned = cleanedTokens(text());
    if (cleaned != text()) {
        setText(cleaned);
    }
}

bool RKExclusionFilesTokenField::completeToken(bool typingOn)
{
    const QString current = text();
    const int cursor = cursorPosition();
    // The piece the cursor stands in, and where it starts and ends.
    int start = int(current.lastIndexOf(kSeparator, cursor - 1)) + 1;
    if (cursor == 0) {
        start = 0;
    }
    int end = int(current.indexOf(kSeparator, cursor));
    if (end < 0) {
        end = int(current.size());
    }
    const QString token = current.mid(start, end - start);
    if (token.isEmpty()) {
        return true;
    }
    const int index = int(current.left(start).count(kSeparator));
    if (!checkTokens({token}, index).isEmpty()) {
        return true;
    }
    QString remaining = current;
    if (typingOn) {
        // Typing goes on after the separator that is already there.
        remaining.remove(start, end - start);
        setText(remaining);
        setCursorPosition(start);
    } else if (start > 0) {
        // Take the repeat out together with the separator before it.
        remaining.remove(start - 1, end - start + 1);
        setText(remaining);
        setCursorPosition(start - 1);
    } else {
        const int length = end < current.size() ? end - start + 1 : end - start;
        remaining.remove(start, length);
        setText(remaining);
        setCursorPosition(0);
    }
    return false;
}

void RKExclusionFilesTokenField::keyPressEvent(QKeyEvent* event)
{
    const bool separator = event->text() == QString(kSeparator);
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (separator || enter) {
        const bool added = completeToken(separator);
        if (separator && !added) {
            event->accept();
            return;
        }
    }
    QLineEdit::keyPressEvent(event);
}
