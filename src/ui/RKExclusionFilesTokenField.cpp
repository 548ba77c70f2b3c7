#include "ui/RKExclusionFilesTokenField.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QSet>

#include <utility>

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

namespace {

// Where the piece holding position begins and ends in text.
std::pair<int, int> pieceAround(const QString& text, int position)
{
    const int start = position == 0 ? 0 : int(text.lastIndexOf(kSeparator, position - 1)) + 1;
    int end = int(text.indexOf(kSeparator, position));
    if (end < 0) {
        end = int(text.size());
    }
    return {start, end};
}

} // namespace

bool RKExclusionFilesTokenField::completeToken(bool separatorTyped)
{
    // The key replaces a selection, as typing does.
    if (hasSelectedText()) {
        del();
    }
    const QString current = text();
    const int cursor = cursorPosition();
    const auto [start, end] = pieceAround(current, cursor);
    const QString token = current.mid(start, cursor - start);
    if (token.isEmpty()) {
        return true;
    }
    const int index = int(current.left(start).count(kSeparator));
    if (!checkTokens({token}, index).isEmpty()) {
        return true;
    }
    int removeStart = start;
    int removeLength = cursor - start;
    if (!separatorTyped && cursor == end) {
        // Nothing follows in the piece: it goes together with a separator.
        if (start > 0) {
            removeStart = start - 1;
            removeLength += 1;
        } else if (end < current.size()) {
            removeLength += 1;
        }
    }
    // Through the selection, so the edit can be undone.
    setSelection(removeStart, removeLength);
    del();
    return false;
}

void RKExclusionFilesTokenField::pastePieces(const QString& pasted)
{
    if (isReadOnly() || pasted.isEmpty()) {
        return;
    }
    QString current = text();
    int cursor = cursorPosition();
    if (hasSelectedText()) {
        cursor = selectionStart();
        current.remove(cursor, selectedText().size());
    }
    const auto [start, end] = pieceAround(current, cursor);
    const QString before = current.mid(start, cursor - start);
    const QString after = current.mid(cursor, end - cursor);
    QStringList standing;
    if (start > 0) {
        standing += current.left(start - 1).split(kSeparator);
    }
    if (end < current.size()) {
        standing += current.mid(end + 1).split(kSeparator);
    }

    const QStringList pieces = pasted.split(kSeparator);
    QStringList kept;
    for (int i = 0; i < pieces.size(); ++i) {
        const QString stands =
            (kept.isEmpty() ? before : QString()) + pieces[i] + (i == pieces.size() - 1 ? after : QString());
        if (!stands.isEmpty() && standing.contains(stands)) {
            continue;
        }
        kept.append(pieces[i]);
        standing.append(stands);
    }
    if (!kept.isEmpty()) {
        // Replaces the selection, and can be undone.
        insert(kept.join(kSeparator));
    }
}

void RKExclusionFilesTokenField::keyPressEvent(QKeyEvent* event)
{
    if (event == QKeySequence::Paste && !isReadOnly()) {
        pastePieces(QGuiApplication::clipboard()->text(QClipboard::Clipboard));
        event->accept();
        return;
    }
    const bool separator = event->text() == QString(kSeparator);
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if ((separator || enter) && !isReadOnly()) {
        const bool added = completeToken(separator);
        if (separator && !added) {
            event->accept();
            return;
        }
    }
    QLineEdit::keyPressEvent(event);
}

void RKExclusionFilesTokenField::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu* menu = createStandardContextMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (QAction* pasteAction = menu->findChild<QAction*>(QStringLiteral("edit-paste"))) {
        disconnect(pasteAction, &QAction::triggered, nullptr, nullptr);
        connect(pasteAction, &QAction::triggered, this,
                [this] { pastePieces(QGuiApplication::clipboard()->text(QClipboard::Clipboard)); });
    }
    menu->popup(event->globalPos());
}

void RKExclusionFilesTokenField::mouseReleaseEvent(QMouseEvent* event)
{
    // The X11 selection pasted with the middle button.
    if (event->button() == Qt::MiddleButton && QGuiApplication::clipboard()->supportsSelection()
        && !isReadOnly()) {
        deselect();
        setCursorPosition(cursorPositionAt(event->position().toPoint()));
        pastePieces(QGuiApplication::clipboard()->text(QClipboard::Selection));
        event->accept();
        return;
    }
    QLineEdit::mouseReleaseEvent(event);
}

void RKExclusionFilesTokenField::dropEvent(QDropEvent* event)
{
    // Text moved within the field adds no pattern; text from elsewhere does.
    if (event->source() != this && event->mimeData()->hasText() && !isReadOnly()) {
        deselect();
        setCursorPosition(cursorPositionAt(event->position().toPoint()));
        pastePieces(event->mimeData()->text());
        event->acceptProposedAction();
        return;
    }
    QLineEdit::dropEvent(event);
}
