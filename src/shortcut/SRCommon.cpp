#include "shortcut/SRCommon.h"

#include "platform/RKKeyCodeTable.h"
#include "shortcut/SRKeyCodeTransformer.h"
#include "shortcut/SRKeyboardLayout.h"

#include <QCoreApplication>
#include <QLocale>

#include <cmath>
#include <numbers>

_KeyCombo SRMakeKeyCombo(qint64 code, quint64 flags)
{
    return _KeyCombo{flags, code};
}

QString SRLoc(const char* key)
{
    return QCoreApplication::translate("ShortcutRecorder", key);
}

QString SRFormat(const QString& format, const QStringList& arguments)
{
    QString result;
    qsizetype from = 0;
    for (const QString& argument : arguments) {
        const qsizetype at = format.indexOf(u"%@", from);
        if (at < 0) {
            break;
        }
        result += QStringView(format).mid(from, at - from);
        result += argument;
        from = at + 2;
    }
    result += QStringView(format).mid(from);
    return result;
}

QString SRDisplayStringForKeyCode(qint64 keyCode)
{
    return SRKeyCodeTransformer::sharedTransformer()->transformedValue(keyCode);
}

QString SRModifierGlyphsForCocoaFlags(quint64 cocoaFlags)
{
    QString glyphs;
    if (cocoaFlags & SRCocoaControlFlag) {
        glyphs += QChar(0x2303);
    }
    if (cocoaFlags & SRCocoaOptionFlag) {
        glyphs += QChar(0x2325);
    }
    if (cocoaFlags & SRCocoaShiftFlag) {
        glyphs += QChar(0x21E7);
    }
    if (cocoaFlags & SRCocoaCommandFlag) {
        glyphs += QChar(0x2318);
    }
    return glyphs;
}

QString SRModifierGlyphsForCarbonFlags(quint32 carbonFlags)
{
    return SRModifierGlyphsForCocoaFlags(SRCocoaFlagsFromCarbonFlags(carbonFlags));
}

QString SRGlyphStringForCocoaFlagsAndKeyCode(quint64 cocoaFlags, qint64 keyCode)
{
    return SRFormat(QStringLiteral("%@%@"), {SRModifierGlyphsForCocoaFlags(cocoaFlags), SRDisplayStringForKeyCode(keyCode)});
}

QString SRGlyphStringForCarbonFlagsAndKeyCode(quint32 carbonFlags, qint64 keyCode)
{
    return SRGlyphStringForCocoaFlagsAndKeyCode(SRCocoaFlagsFromCarbonFlags(carbonFlags), keyCode);
}

QString SRSpelledStringForCocoaFlagsAndKeyCode(quint64 cocoaFlags, qint64 keyCode)
{
    QString spelled;
    if (cocoaFlags & SRCocoaCommandFlag) {
        spelled += SRLoc("Command + ");
    }
    if (cocoaFlags & SRCocoaOptionFlag) {
        spelled += SRLoc("Option + ");
    }
    if (cocoaFlags & SRCocoaControlFlag) {
        spelled += SRLoc("Control + ");
    }
    if (cocoaFlags & SRCocoaShiftFlag) {
        spelled += SRLoc("Shift + ");
    }
    return spelled + SRDisplayStringForKeyCode(keyCode);
}

QString SRSpelledStringForCarbonFlagsAndKeyCode(quint32 carbonFlags, qint64 keyCode)
{
    return SRSpelledStringForCocoaFlagsAndKeyCode(SRCocoaFlagsFromCarbonFlags(carbonFlags), keyCode);
}

namespace {

struct FlagPair {
    quint64 cocoa;
    quint32 carbon;
};

constexpr FlagPair kFlagPairs[] = {
    {SRCocoaCommandFlag, SRCarbonCommandFlag}, {SRCocoaOptionFlag, SRCarbonOptionFlag},
    {SRCocoaControlFlag, SRCarbonControlFlag}, {SRCocoaShiftFlag, SRCarbonShiftFlag},
    {SRFunctionFlag, quint32(SRFunctionFlag)},
};

} // namespace

quint64 SRCocoaFlagsFromCarbonFlags(quint32 carbonFlags)
{
    quint64 cocoaFlags = 0;
    for (const FlagPair& pair : kFlagPairs) {
        cocoaFlags |= (carbonFlags & pair.carbon) ? pair.cocoa : 0;
    }
    return cocoaFlags;
}

quint64 SRCocoaFlagsFromQtModifiers(Qt::KeyboardModifiers modifiers)
{
    quint64 cocoaFlags = 0;
    cocoaFlags |= modifiers.testFlag(Qt::ShiftModifier) ? SRCocoaShiftFlag : 0;
    cocoaFlags |= modifiers.testFlag(Qt::ControlModifier) ? SRCocoaControlFlag : 0;
    cocoaFlags |= modifiers.testFlag(Qt::AltModifier) ? SRCocoaOptionFlag : 0;
    cocoaFlags |= modifiers.testFlag(Qt::MetaModifier) ? SRCocoaCommandFlag : 0;
    return cocoaFlags;
}

quint32 SRCarbonFlagsFromCocoaFlags(quint64 cocoaFlags)
{
    quint32 carbonFlags = 0;
    for (const FlagPair& pair : kFlagPairs) {
        carbonFlags |= (cocoaFlags & pair.cocoa) ? pair.carbon : 0;
    }
    return carbonFlags;
}

namespace {

SRKeyboardLayout::Modifiers layoutModifiers(quint64 cocoaFlags, bool withOption)
{
    SRKeyboardLayout::Modifiers modifiers;
    modifiers.setFlag(SRKeyboardLayout::Shift, cocoaFlags & SRCocoaShiftFlag);
    modifiers.setFlag(SRKeyboardLayout::Option, withOption && (cocoaFlags & SRCocoaOptionFlag));
    return modifiers;
}

} // namespace

QString SRLayoutCharacterForKeyCodeAndCocoaFlags(qint64 keyCode, quint64 cocoaFlags)
{
    SRKeyboardLayout* layout = SRKeyboardLayout::current();
    const int x11KeyCode = keyCode >= 0 && keyCode < 128 ? RKKeyCodeTable::x11KeyCode(int(keyCode)) : 0;
    const QString character = layout && x11KeyCode ? layout->displayText(x11KeyCode, layoutModifiers(cocoaFlags, true))
                                                   : QString();
    if (character.isEmpty()) {
        return SRDisplayStringForKeyCode(keyCode);
    }
    return QLocale().toUpper(character.left(1));
}

QString SRLayoutCharacterForKeyCodeAndCarbonFlags(qint64 keyCode, quint32 carbonFlags)
{
    return SRLayoutCharacterForKeyCodeAndCocoaFlags(keyCode, SRCocoaFlagsFromCarbonFlags(carbonFlags));
}

QString SRCharactersIgnoringModifiersForKeyCode(qint64 keyCode, quint64 cocoaFlags)
{
    SRKeyboardLayout* layout = SRKeyboardLayout::current();
    const int x11KeyCode = keyCode >= 0 && keyCode < 128 ? RKKeyCodeTable::x11KeyCode(int(keyCode)) : 0;
    if (!layout || x11KeyCode == 0) {
        return SRDisplayStringForKeyCode(keyCode);
    }
    const SRKeyboardLayout::Modifiers modifiers = layoutModifiers(cocoaFlags, false);
    if (layout->isDeadKey(x11KeyCode, modifiers)) {
        return QString();
    }
    const QString characters = layout->displayText(x11KeyCode, modifiers);
    return characters.isEmpty() ? SRDisplayStringForKeyCode(keyCode) : characters;
}

double SREaseInOut(double t)
{
    return (std::sin(std::numbers::pi * t - std::numbers::pi / 2.0) + 1.0) / 2.0;
}
