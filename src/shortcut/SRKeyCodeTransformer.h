#pragma once

#include <QString>
#include <QVariant>

// Turns stored key codes into the texts of their keys and back. Special keys
// have fixed texts (F1…F19, "Space", arrows and other glyphs); every other
// key shows what the current keyboard layout types with it, in upper case,
// so the texts follow layout switches at once. The table from texts back to
// key codes is rebuilt when the layout reports a change. Main thread only.
class SRKeyCodeTransformer
{
public:
    // The transformer the texts of the key-combination functions use,
    // made on first use.
    static SRKeyCodeTransformer* sharedTransformer();

    static bool allowsReverseTransformation() { return true; }

    // The key's text for a number holding a key code; a null string when the
    // value is not a number, is negative as a 16-bit integer, or the key has
    // no text in the layout ("Pad 1" and the like for keypad keys).
    QString transformedValue(const QVariant& value) const;

    // The key code (an int) whose text this is, among the codes 0 … 127 (the
    // higher code when several share a text); invalid when none has it.
    QVariant reverseTransformedValue(const QString& text) const;

    // Rebuilds the table from texts to key codes for the current layout.
    static void regenerateStringToKeyCodeMapping();
};
