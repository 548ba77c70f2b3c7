#include "shortcut/SRKeyboardLayout.h"

#include "platform/RKSessionKeymap.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSocketNotifier>
#include <QVariant>

#include <xcb/xcb.h>
// The XKB protocol header is C and names a field `explicit`.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include <cstdlib>

namespace {

QPointer<SRKeyboardLayout> g_injected;
QPointer<SRKeyboardLayout> g_session;

bool isDeadKeysym(xkb_keysym_t sym)
{
    return sym >= XKB_KEY_dead_grave && sym <= XKB_KEY_dead_longsolidusoverlay;
}

// A dead key types nothing by itself; it is shown as the accent it puts on
// the next key.
char32_t spacingAccent(xkb_keysym_t sym)
{
    static constexpr char32_t accents[] = {
        U'`', U'\u00B4', U'^', U'~', U'\u00AF', U'\u02D8', U'\u02D9',
        U'\u00A8', U'\u02DA', U'\u02DD', U'\u02C7', U'\u00B8', U'\u02DB', U'\u037A',
    };
    const xkb_keysym_t index = sym - XKB_KEY_dead_grave;
    return index < std::size(accents) ? accents[index] : 0;
}

QString platformName()
{
    const QCoreApplication* app = QCoreApplication::instance();
    return app ? app->property("platformName").toString() : QString();
}

// Offscreen and minimal platforms show no windows on a display, and a
// Wayland client's keys come from the compositor, so there an X display named
// in the environment (XWayland's) is not the keyboard events come from.
bool platformUsesAnXDisplay()
{
    const QString platform = platformName();
    return !platform.startsWith(QStringLiteral("offscreen")) && !platform.startsWith(QStringLiteral("minimal"))
           && !platform.startsWith(QStringLiteral("wayland"));
}

} // namespace

SRKeyboardLayout::SRKeyboardLayout()
    : m_context(xkb_context_new(XKB_CONTEXT_NO_FLAGS))
{
}

SRKeyboardLayout::~SRKeyboardLayout()
{
    delete m_notifier;
    if (m_connection) {
        xcb_disconnect(m_connection);
    }
    xkb_state_unref(m_state);
    xkb_keymap_unref(m_keymap);
    xkb_context_unref(m_context);
}

std::unique_ptr<SRKeyboardLayout> SRKeyboardLayout::fromNames(const QByteArray& layout, const QByteArray& variant)
{
    std::unique_ptr<SRKeyboardLayout> result(new SRKeyboardLayout);
    if (!result->m_context) {
        return nullptr;
    }
    xkb_rule_names names{};
    names.layout = layout.isEmpty() ? nullptr : layout.constData();
    names.variant = variant.isEmpty() ? nullptr : variant.constData();
    result->m_keymap = xkb_keymap_new_from_names(result->m_context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (!result->m_keymap) {
        return nullptr;
    }
    result->m_state = xkb_state_new(result->m_keymap);
    return result->m_state ? std::move(result) : nullptr;
}

std::unique_ptr<SRKeyboardLayout> SRKeyboardLayout::fromX11Display(const QByteArray& displayName)
{
    std::unique_ptr<SRKeyboardLayout> result(new SRKeyboardLayout);
    xcb_connection_t* connection = xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), nullptr);
    result->m_connection = connection;
    if (!result->m_context || xcb_connection_has_error(connection)) {
        return nullptr;
    }
    uint8_t eventBase = 0;
    if (!xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                     XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &eventBase, nullptr)) {
        return nullptr;
    }
    result->m_xkbEventBase = eventBase;
    result->m_deviceId = xkb_x11_get_core_keyboard_device_id(connection);
    if (result->m_deviceId < 0 || !result->loadX11Keymap()) {
        return nullptr;
    }

    // A new keyboard or keymap (setxkbmap, a layout added in the desktop's
    // settings) and a switch of the active group are all a layout change.
    constexpr uint16_t events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY
                                | XCB_XKB_EVENT_TYPE_STATE_NOTIFY;
    constexpr uint16_t mapParts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS
                                  | XCB_XKB_MAP_PART_MODIFIER_MAP | XCB_XKB_MAP_PART_EXPLICIT_COMPONENTS
                                  | XCB_XKB_MAP_PART_KEY_ACTIONS | XCB_XKB_MAP_PART_VIRTUAL_MODS
                                  | XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;
    constexpr uint16_t stateParts = XCB_XKB_STATE_PART_MODIFIER_BASE | XCB_XKB_STATE_PART_MODIFIER_LATCH
                                    | XCB_XKB_STATE_PART_MODIFIER_LOCK | XCB_XKB_STATE_PART_GROUP_BASE
                                    | XCB_XKB_STATE_PART_GROUP_LATCH | XCB_XKB_STATE_PART_GROUP_LOCK;
    xcb_xkb_select_events_details_t details{};
    details.affectNewKeyboard = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.newKeyboardDetails = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.affectState = stateParts;
    details.stateDetails = stateParts;
    xcb_generic_error_t* error = xcb_request_check(
        connection, xcb_xkb_select_events_aux_checked(connection, static_cast<xcb_xkb_device_spec_t>(result->m_deviceId),
                                                      events, 0, 0, mapParts, mapParts, &details));
    if (error) {
        std::free(error);
        return nullptr;
    }
    if (QCoreApplication::instance()) {
        result->m_notifier = new QSocketNotifier(xcb_get_file_descriptor(connection), QSocketNotifier::Read);
        connect(result->m_notifier, &QSocketNotifier::activated, result.get(),
                &SRKeyboardLayout::processPendingChanges);
    }
    return result;
}

std::unique_ptr<SRKeyboardLayout> SRKeyboardLayout::fromSessionKeymap()
{
    // The default names' keymap stands in until the compositor's has come.
    std::unique_ptr<SRKeyboardLayout> result = fromNames();
    if (!result) {
        return nullptr;
    }
    result->loadSessionKeymap();
    SRKeyboardLayout* layout = result.get();
    connect(RKSessionKeymap::instance(), &RKSessionKeymap::changed, layout, [layout] {
        if (layout->loadSessionKeymap()) {
            emit layout->layoutChanged();
        }
    });
    return result;
}

bool SRKeyboardLayout::loadSessionKeymap()
{
    const QByteArray text = RKSessionKeymap::instance()->keymap();
    xkb_keymap* keymap = text.isEmpty() ? nullptr
                                        : xkb_keymap_new_from_string(m_context, text.constData(),
                                                                     XKB_KEYMAP_FORMAT_TEXT_V1,
                                                                     XKB_KEYMAP_COMPILE_NO_FLAGS);
    xkb_state* state = keymap ? xkb_state_new(keymap) : nullptr;
    if (!state) {
        xkb_keymap_unref(keymap);
        return false;
    }
    xkb_state_update_mask(state, 0, 0, 0, 0, 0, RKSessionKeymap::instance()->group());
    xkb_state_unref(m_state);
    xkb_keymap_unref(m_keymap);
    m_keymap = keymap;
    m_state = state;
    return true;
}

bool SRKeyboardLayout::loadX11Keymap()
{
    xkb_keymap* keymap = xkb_x11_keymap_new_from_device(m_context, m_connection, m_deviceId,
                                                        XKB_KEYMAP_COMPILE_NO_FLAGS);
    xkb_state* state = keymap ? xkb_x11_state_new_from_device(keymap, m_connection, m_deviceId) : nullptr;
    if (!state) {
        xkb_keymap_unref(keymap);
        return false;
    }
    xkb_state_unref(m_state);
    xkb_keymap_unref(m_keymap);
    m_keymap = keymap;
    m_state = state;
    return true;
}

void SRKeyboardLayout::processPendingChanges()
{
    if (!m_connection || xcb_connection_has_error(m_connection)) {
        return;
    }
    bool changed = false;
    // Reloading the keymap talks to the server, which may queue further
    // events inside xcb without the socket becoming readable again: keep
    // polling until the queue is empty.
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
        if ((event->response_type & 0x7f) == m_xkbEventBase) {
            // Every XKB event has its own type in the second byte.
            switch (reinterpret_cast<const xcb_xkb_map_notify_event_t*>(event)->xkbType) {
            case XCB_XKB_NEW_KEYBOARD_NOTIFY: {
                const auto* notify = reinterpret_cast<const xcb_xkb_new_keyboard_notify_event_t*>(event);
                if (notify->deviceID == m_deviceId && (notify->changed & XCB_XKB_NKN_DETAIL_KEYCODES)) {
                    changed = loadX11Keymap() || changed;
                }
                break;
            }
            case XCB_XKB_MAP_NOTIFY:
                changed = loadX11Keymap() || changed;
                break;
            case XCB_XKB_STATE_NOTIFY: {
                const auto* notify = reinterpret_cast<const xcb_xkb_state_notify_event_t*>(event);
                const xkb_layout_index_t before = xkb_state_serialize_layout(m_state, XKB_STATE_LAYOUT_EFFECTIVE);
                xkb_state_update_mask(m_state, notify->baseMods, notify->latchedMods, notify->lockedMods,
                                      static_cast<xkb_layout_index_t>(notify->baseGroup),
                                      static_cast<xkb_layout_index_t>(notify->latchedGroup), notify->lockedGroup);
                changed = changed || xkb_state_serialize_layout(m_state, XKB_STATE_LAYOUT_EFFECTIVE) != before;
                break;
            }
            default:
                break;
            }
        }
        std::free(event);
    }
    if (changed) {
        emit layoutChanged();
    }
}

quint32 SRKeyboardLayout::keysym(int x11KeyCode, Modifiers modifiers)
{
    processPendingChanges();
    if (x11KeyCode <= 0 || !m_keymap) {
        return XKB_KEY_NoSymbol;
    }
    // The key is looked up in a state of its own, so that the modifiers and
    // locks held on the keyboard right now play no part: only the active
    // group and the modifiers asked for.
    xkb_state* scratch = xkb_state_new(m_keymap);
    if (!scratch) {
        return XKB_KEY_NoSymbol;
    }
    // Num Lock on: keypad keys give their digits, as they do on the
    // keyboards the stored key codes come from; no other key minds it.
    xkb_mod_mask_t mask = 0;
    const auto add = [&](const char* name) {
        const xkb_mod_index_t index = xkb_keymap_mod_get_index(m_keymap, name);
        if (index != XKB_MOD_INVALID) {
            mask |= xkb_mod_mask_t(1) << index;
        }
    };
    add(XKB_MOD_NAME_NUM);
    if (modifiers.testFlag(Shift)) {
        add(XKB_MOD_NAME_SHIFT);
    }
    if (modifiers.testFlag(Option)) {
        add(XKB_MOD_NAME_ALT);
    }
    xkb_state_update_mask(scratch, mask, 0, 0, 0, 0, xkb_state_serialize_layout(m_state, XKB_STATE_LAYOUT_EFFECTIVE));
    const xkb_keysym_t sym = xkb_state_key_get_one_sym(scratch, static_cast<xkb_keycode_t>(x11KeyCode));
    xkb_state_unref(scratch);
    return sym;
}

QString SRKeyboardLayout::displayText(int x11KeyCode, Modifiers modifiers)
{
    const xkb_keysym_t sym = keysym(x11KeyCode, modifiers);
    const char32_t character = isDeadKeysym(sym) ? spacingAccent(sym) : xkb_keysym_to_utf32(sym);
    return character ? QString::fromUcs4(&character, 1) : QString();
}

bool SRKeyboardLayout::isDeadKey(int x11KeyCode, Modifiers modifiers)
{
    return isDeadKeysym(keysym(x11KeyCode, modifiers));
}

SRKeyboardLayout* SRKeyboardLayout::current()
{
    if (g_injected) {
        return g_injected;
    }
    if (!g_session) {
        std::unique_ptr<SRKeyboardLayout> session;
        if (platformName().startsWith(QStringLiteral("wayland"))) {
            session = fromSessionKeymap();
        } else if (platformUsesAnXDisplay()) {
            session = fromX11Display();
        }
        if (!session) {
            session = fromNames();
        }
        if (!session) {
            return nullptr;
        }
        // Owned by the application, so that its socket notifier goes before
        // the event loop does; without an application it lives to the end.
        session->setParent(QCoreApplication::instance());
        g_session = session.release();
    }
    return g_session;
}

void SRKeyboardLayout::setCurrent(SRKeyboardLayout* layout)
{
    g_injected = layout;
}
