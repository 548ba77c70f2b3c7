#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>
#include <Qt>

// A recorded key combination: a stored key code and a set of modifiers in
// the Cocoa encoding. Code -1 is no key (the combination is empty).
struct _KeyCombo {
    quint64 flags = 0;
    qint64 code = -1;

    bool operator==(const _KeyCombo& other) const = default;
};

_KeyCombo SRMakeKeyCombo(qint64 code, quint64 flags);

// The modifiers in their two encodings. Function has the same value in both
// and is carried over by the conversions; no other bit is.
constexpr quint64 SRCocoaCommandFlag = 0x100000;
constexpr quint64 SRCocoaOptionFlag = 0x80000;
constexpr quint64 SRCocoaControlFlag = 0x40000;
constexpr quint64 SRCocoaShiftFlag = 0x20000;
constexpr quint64 SRFunctionFlag = 0x800000;
constexpr quint64 SRCocoaModifierFlags =
    SRCocoaCommandFlag | SRCocoaOptionFlag | SRCocoaControlFlag | SRCocoaShiftFlag | SRFunctionFlag;
constexpr quint32 SRCarbonCommandFlag = 0x100;
constexpr quint32 SRCarbonShiftFlag = 0x200;
constexpr quint32 SRCarbonOptionFlag = 0x800;
constexpr quint32 SRCarbonControlFlag = 0x1000;

// A text of the "ShortcutRecorder" translation context; the English text is
// the key.
QString SRLoc(const char* key);
// Fills each %@ of a format with the next argument, in order.
QString SRFormat(const QString& format, const QStringList& arguments);

// The key's text in the current keyboard layout (see SRKeyCodeTransformer):
// a null string when the key has none.
QString SRDisplayStringForKeyCode(qint64 keyCode);

// Modifier glyphs in the order Control ⌃, Option ⌥, Shift ⇧, Command ⌘.
QString SRModifierGlyphsForCarbonFlags(quint32 carbonFlags);
QString SRModifierGlyphsForCocoaFlags(quint64 cocoaFlags);
// The glyphs followed by the key's text: ⌃⇧F5.
QString SRGlyphStringForCarbonFlagsAndKeyCode(quint32 carbonFlags, qint64 keyCode);
QString SRGlyphStringForCocoaFlagsAndKeyCode(quint64 cocoaFlags, qint64 keyCode);
// "Command + ", "Option + ", "Control + ", "Shift + " (translated, in that
// order, each when set) followed by the key's text.
QString SRSpelledStringForCarbonFlagsAndKeyCode(quint32 carbonFlags, qint64 keyCode);
QString SRSpelledStringForCocoaFlagsAndKeyCode(quint64 cocoaFlags, qint64 keyCode);

quint64 SRCocoaFlagsFromCarbonFlags(quint32 carbonFlags);
// Qt's modifiers: Ctrl is Control, Alt is Option, Meta (Super) is Command.
quint64 SRCocoaFlagsFromQtModifiers(Qt::KeyboardModifiers modifiers);
quint32 SRCarbonFlagsFromCocoaFlags(quint64 cocoaFlags);

// The character the current layout gives for the key with its Option and
// Shift applied, in upper case for the current locale; the key's display
// string when the layout gives none.
QString SRLayoutCharacterForKeyCodeAndCocoaFlags(qint64 keyCode, quint64 cocoaFlags);
QString SRLayoutCharacterForKeyCodeAndCarbonFlags(qint64 keyCode, quint32 carbonFlags);

// What a key event of the key reports as its characters ignoring modifiers
// (Shift still applies): the layout's character, nothing for a dead key, and
// the key's display string for keys that type no character (F5, the arrows).
QString SRCharactersIgnoringModifiersForKeyCode(qint64 keyCode, quint64 cocoaFlags);

// Eases a transition's progress t (0 … 1) in and out: slow at both ends.
double SREaseInOut(double t);
