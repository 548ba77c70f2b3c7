#include "shortcut/SRX11HotKeyProbe.h"

#include "platform/RKKeyCodeTable.h"
#include "platform/RKXWayland.h"

#include <QCoreApplication>
#include <QVariant>

#include <xcb/xcb.h>

#include <cstdlib>

namespace {

constexpr quint32 kCarbonCommand = 0x100;
constexpr quint32 kCarbonShift = 0x200;
constexpr quint32 kCarbonOption = 0x800;
constexpr quint32 kCarbonControl = 0x1000;

constexpr int kLeftOption = 58;
constexpr int kLeftCommand = 55;

} // namespace

SRX11HotKeyProbe::SRX11HotKeyProbe(const QByteArray& displayName)
    : m_displayName(displayName)
{
}

SRX11HotKeyProbe::~SRX11HotKeyProbe()
{
    if (m_connection) {
        xcb_disconnect(m_connection);
    }
}

xcb_connection_t* SRX11HotKeyProbe::connection()
{
    if (!m_openAttempted) {
        m_openAttempted = true;
        m_connection = xcb_connect(m_displayName.isEmpty() ? nullptr : m_displayName.constData(), nullptr);
        // XWayland's grabs are only its own clients'; the compositor's
        // shortcuts are not among them, so it would call every one free.
        const QCoreApplication* app = QCoreApplication::instance();
        const bool wayland = app && app->property("platformName").toString().startsWith(QStringLiteral("wayland"));
        if (!xcb_connection_has_error(m_connection)) {
            xcb_query_extension_reply_t* extension = xcb_query_extension_reply(
                m_connection, xcb_query_extension(m_connection, 8, "XWAYLAND"), nullptr);
            const bool xwayland = RKIsXWayland(extension && extension->present);
            std::free(extension);
            if (wayland || xwayland) {
                xcb_disconnect(m_connection);
                m_connection = nullptr;
            }
        }
    }
    return m_connection && !xcb_connection_has_error(m_connection) ? m_connection : nullptr;
}

bool SRX11HotKeyProbe::canProbe()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return connection() != nullptr;
}

// Option and Command are Alt and Super; which of Mod1…Mod5 they are is the
// server's modifier map, read anew each time because desktops change it.
quint16 SRX11HotKeyProbe::x11Modifiers(quint32 carbonFlags)
{
    quint16 option = XCB_MOD_MASK_1;
    quint16 command = XCB_MOD_MASK_4;
    xcb_get_modifier_mapping_reply_t* map =
        xcb_get_modifier_mapping_reply(m_connection, xcb_get_modifier_mapping(m_connection), nullptr);
    if (map) {
        const xcb_keycode_t* keycodes = xcb_get_modifier_mapping_keycodes(map);
        const int perModifier = map->keycodes_per_modifier;
        for (int modifier = 3; modifier < 8; ++modifier) {
            for (int i = 0; i < perModifier; ++i) {
                const int keycode = keycodes[modifier * perModifier + i];
                if (keycode == RKKeyCodeTable::x11KeyCode(kLeftOption)) {
                    option = quint16(1u << modifier);
                } else if (keycode == RKKeyCodeTable::x11KeyCode(kLeftCommand)) {
                    command = quint16(1u << modifier);
                }
            }
        }
        std::free(map);
    }
    quint16 mask = 0;
    mask |= (carbonFlags & kCarbonShift) ? XCB_MOD_MASK_SHIFT : 0;
    mask |= (carbonFlags & kCarbonControl) ? XCB_MOD_MASK_CONTROL : 0;
    mask |= (carbonFlags & kCarbonOption) ? option : 0;
    mask |= (carbonFlags & kCarbonCommand) ? command : 0;
    return mask;
}

bool SRX11HotKeyProbe::isTaken(qint64 keyCode, quint32 carbonFlags)
{
    const int keycode = keyCode >= 0 && keyCode < 128 ? RKKeyCodeTable::x11KeyCode(int(keyCode)) : 0;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (keycode == 0 || !connection()) {
        return false;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    const quint16 modifiers = x11Modifiers(carbonFlags);
    const xcb_void_cookie_t cookie = xcb_grab_key_checked(m_connection, 0, root, modifiers, xcb_keycode_t(keycode),
                                                          XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    xcb_generic_error_t* error = xcb_request_check(m_connection, cookie);
    if (!error) {
        xcb_ungrab_key(m_connection, xcb_keycode_t(keycode), root, modifiers);
        xcb_flush(m_connection);
        return false;
    }
    const bool taken = error->error_code == XCB_ACCESS;
    std::free(error);
    return taken;
}
