#include "shortcut/SRKeyCodeTransformer.h"

#include "platform/RKKeyCodeTable.h"
#include "shortcut/SRCommon.h"
#include "shortcut/SRKeyboardLayout.h"

#include <QHash>
#include <QMetaObject>
#include <QPointer>

namespace {

// Keys whose text does not depend on the layout.
QString specialKeyText(int keyCode)
{
    switch (keyCode) {
    case 122: return QStringLiteral("F1");
    case 120: return QStringLiteral("F2");
    case 99: return QStringLiteral("F3");
    case 118: return QStringLiteral("F4");
    case 96: return QStringLiteral("F5");
    case 97: return QStringLiteral("F6");
    case 98: return QStringLiteral("F7");
    case 100: return QStringLiteral("F8");
    case 101: return QStringLiteral("F9");
    case 109: return QStringLiteral("F10");
    case 103: return QStringLiteral("F11");
    case 111: return QStringLiteral("F12");
    case 105: return QStringLiteral("F13");
    case 107: return QStringLiteral("F14");
    case 113: return QStringLiteral("F15");
    case 106: return QStringLiteral("F16");
    case 64: return QStringLiteral("F17");
    case 79: return QStringLiteral("F18");
    case 80: return QStringLiteral("F19");
    case 49: return SRLoc("Space");
    case 51: return QString::fromUtf16(u"\u232B");
    case 117: return QString::fromUtf16(u"\u2326");
    case 71: return QString::fromUtf16(u"\u2327");
    case 123: return QString::fromUtf16(u"\u2190");
    case 124: return QString::fromUtf16(u"\u2192");
    case 126: return QString::fromUtf16(u"\u2191");
    case 125: return QString::fromUtf16(u"\u2193");
    case 119: return QString::fromUtf16(u"\u2198");
    case 115: return QString::fromUtf16(u"\u2196");
    case 53: return QString::fromUtf16(u"\u238B");
    case 121: return QString::fromUtf16(u"\u21DF");
    case 116: return QString::fromUtf16(u"\u21DE");
    case 36: return QString::fromUtf16(u"\u21A9");
    case 76: return QString::fromUtf16(u"\u2305");
    case 48: return QString::fromUtf16(u"\u21E5");
    case 114: return QStringLiteral("?");
    default: return QString();
    }
}

bool isKeypadKey(int keyCode)
{
    switch (keyCode) {
    case 65: case 67: case 69: case 75: case 78: case 81: case 82: case 83:
    case 84: case 85: case 86: case 87: case 88: case 89: case 91: case 92:
        return true;
    default:
        return false;
    }
}

bool isNumber(const QVariant& value)
{
    switch (value.metaType().id()) {
    case QMetaType::Int: case QMetaType::UInt: case QMetaType::LongLong: case QMetaType::ULongLong:
    case QMetaType::Short: case QMetaType::UShort: case QMetaType::Long: case QMetaType::ULong:
    case QMetaType::Char: case QMetaType::SChar: case QMetaType::UChar: case QMetaType::Double:
    case QMetaType::Float: case QMetaType::Bool:
        return true;
    default:
        return false;
    }
}

struct StringToKeyCode {
    QHash<QString, int> codes;
    QPointer<SRKeyboardLayout> builtFor;
    bool built = false;
    QMetaObject::Connection changes;
};

StringToKeyCode& stringToKeyCode()
{
    static StringToKeyCode table;
    return table;
}

} // namespace

SRKeyCodeTransformer* SRKeyCodeTransformer::sharedTransformer()
{
    static SRKeyCodeTransformer shared;
    return &shared;
}

QString SRKeyCodeTransformer::transformedValue(const QVariant& value) const
{
    if (!isNumber(value)) {
        return QString();
    }
    const qint16 keyCode = static_cast<qint16>(value.toLongLong());
    if (keyCode < 0) {
        return QString();
    }
    const QString special = specialKeyText(keyCode);
    if (!special.isNull()) {
        return special;
    }
    SRKeyboardLayout* layout = SRKeyboardLayout::current();
    const int x11KeyCode = RKKeyCodeTable::x11KeyCode(keyCode);
    if (!layout || x11KeyCode == 0) {
        return QString();
    }
    const QString text = layout->displayText(x11KeyCode).left(1).toUpper();
    if (text.isEmpty()) {
        return QStringLiteral("");
    }
    return isKeypadKey(keyCode) ? SRFormat(SRLoc("Pad %@"), {text}) : text;
}

QVariant SRKeyCodeTransformer::reverseTransformedValue(const QString& text) const
{
    StringToKeyCode& table = stringToKeyCode();
    // A layout put in place of the session's one (tests) is a change of
    // layout too, though the replaced one sent no notice of it.
    if (!table.built || table.builtFor != SRKeyboardLayout::current()) {
        regenerateStringToKeyCodeMapping();
    }
    const auto found = table.codes.constFind(text);
    return found == table.codes.constEnd() ? QVariant() : QVariant(found.value());
}

void SRKeyCodeTransformer::regenerateStringToKeyCodeMapping()
{
    StringToKeyCode& table = stringToKeyCode();
    SRKeyboardLayout* layout = SRKeyboardLayout::current();
    if (table.builtFor != layout) {
        QObject::disconnect(table.changes);
        if (layout) {
            table.changes = QObject::connect(layout, &SRKeyboardLayout::layoutChanged, layout,
                                             &SRKeyCodeTransformer::regenerateStringToKeyCodeMapping);
        }
    }
    table.builtFor = layout;
    table.built = true;
    table.codes.clear();
    const SRKeyCodeTransformer* transformer = sharedTransformer();
    for (int code = 0; code < 128; ++code) {
        const QString text = transformer->transformedValue(code);
        if (!text.isEmpty()) {
            table.codes.insert(text, code);
        }
    }
}
