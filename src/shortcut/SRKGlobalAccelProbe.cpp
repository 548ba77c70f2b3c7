#include "shortcut/SRKGlobalAccelProbe.h"

#include "platform/RKKeyCodeTable.h"
#include "shortcut/SRCommon.h"
#include "shortcut/SRKeyboardLayout.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include <xkbcommon/xkbcommon.h>

namespace {

const QString kService = QStringLiteral("org.kde.kglobalaccel");

QDBusConnection connection(const QString& name)
{
    return name.isEmpty() ? QDBusConnection::sessionBus() : QDBusConnection(name);
}

// Keys whose Qt key is not the character they type.
int qtKeyForKeysym(xkb_keysym_t sym)
{
    if (sym >= XKB_KEY_F1 && sym <= XKB_KEY_F35) {
        return Qt::Key_F1 + int(sym - XKB_KEY_F1);
    }
    if (sym >= XKB_KEY_KP_0 && sym <= XKB_KEY_KP_9) {
        return int(Qt::KeypadModifier) | (Qt::Key_0 + int(sym - XKB_KEY_KP_0));
    }
    struct Pair {
        xkb_keysym_t sym;
        int key;
    };
    static constexpr Pair pairs[] = {
        {XKB_KEY_Return, Qt::Key_Return}, {XKB_KEY_KP_Enter, Qt::Key_Enter}, {XKB_KEY_Tab, Qt::Key_Tab},
        {XKB_KEY_BackSpace, Qt::Key_Backspace}, {XKB_KEY_Escape, Qt::Key_Escape}, {XKB_KEY_Delete, Qt::Key_Delete},
        {XKB_KEY_Insert, Qt::Key_Insert}, {XKB_KEY_Home, Qt::Key_Home}, {XKB_KEY_End, Qt::Key_End},
        {XKB_KEY_Left, Qt::Key_Left}, {XKB_KEY_Up, Qt::Key_Up}, {XKB_KEY_Right, Qt::Key_Right},
        {XKB_KEY_Down, Qt::Key_Down}, {XKB_KEY_Prior, Qt::Key_PageUp}, {XKB_KEY_Next, Qt::Key_PageDown},
        {XKB_KEY_Print, Qt::Key_Print}, {XKB_KEY_Pause, Qt::Key_Pause}, {XKB_KEY_Menu, Qt::Key_Menu},
        {XKB_KEY_Num_Lock, Qt::Key_NumLock}, {XKB_KEY_Help, Qt::Key_Help},
    };
    for (const Pair& pair : pairs) {
        if (pair.sym == sym) {
            return pair.key;
        }
    }
    // A character key: Qt names it by its upper-case character.
    const char32_t character = xkb_keysym_to_utf32(xkb_keysym_to_upper(sym));
    return character > 0x20 && character != 0x7f ? int(character) : (character == 0x20 ? Qt::Key_Space : 0);
}

bool nonEmptyList(const QDBusMessage& reply)
{
    const QVariant first = reply.arguments().value(0);
    if (!first.canConvert<QDBusArgument>()) {
        return false;
    }
    const QDBusArgument list = first.value<QDBusArgument>();
    list.beginArray();
    const bool empty = list.atEnd();
    list.endArray();
    return !empty;
}

} // namespace

SRKGlobalAccelProbe::SRKGlobalAccelProbe(const QString& connectionName)
    : m_connectionName(connectionName)
{
}

bool SRKGlobalAccelProbe::canProbe()
{
    const QDBusConnection bus = connection(m_connectionName);
    return bus.isConnected() && bus.interface() && bus.interface()->isServiceRegistered(kService).value();
}

int SRKGlobalAccelProbe::qtKeyCombination(qint64 keyCode, quint32 carbonFlags)
{
    SRKeyboardLayout* layout = SRKeyboardLayout::current();
    const int x11KeyCode = keyCode >= 0 && keyCode < 128 ? RKKeyCodeTable::x11KeyCode(int(keyCode)) : 0;
    const int key = layout && x11KeyCode ? qtKeyForKeysym(layout->keysym(x11KeyCode)) : 0;
    if (key == 0) {
        return 0;
    }
    int modifiers = 0;
    modifiers |= (carbonFlags & SRCarbonShiftFlag) ? int(Qt::ShiftModifier) : 0;
    modifiers |= (carbonFlags & SRCarbonControlFlag) ? int(Qt::ControlModifier) : 0;
    modifiers |= (carbonFlags & SRCarbonOptionFlag) ? int(Qt::AltModifier) : 0;
    modifiers |= (carbonFlags & SRCarbonCommandFlag) ? int(Qt::MetaModifier) : 0;
    return key | modifiers;
}

bool SRKGlobalAccelProbe::isTaken(qint64 keyCode, quint32 carbonFlags)
{
    const int combination = qtKeyCombination(keyCode, carbonFlags);
    if (combination == 0) {
        return false;
    }
    const QDBusConnection bus = connection(m_connectionName);
    const auto ask = [&](const QString& method, const QVariantList& arguments) {
        QDBusMessage call = QDBusMessage::createMethodCall(kService, QStringLiteral("/kglobalaccel"),
                                                           QStringLiteral("org.kde.KGlobalAccel"), method);
        call.setArguments(arguments);
        return bus.call(call, QDBus::Block, 2000);
    };
    // A key sequence travels as its four keys; match type 0 is "equal".
    QDBusMessage reply = ask(QStringLiteral("globalShortcutsByKey"),
                             {QVariant::fromValue(QList<int>{combination, 0, 0, 0}), 0});
    if (reply.type() == QDBusMessage::ErrorMessage
        && reply.errorName() == QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod")) {
        reply = ask(QStringLiteral("getGlobalShortcutsByKey"), {combination});
    }
    return reply.type() == QDBusMessage::ReplyMessage && nonEmptyList(reply);
}
