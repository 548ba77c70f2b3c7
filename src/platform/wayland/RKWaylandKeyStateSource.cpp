#include "platform/wayland/RKWaylandKeyStateSource.h"

#include "platform/RKKeyCodeTable.h"
#include "platform/RKSessionKeymap.h"

#include <QGuiApplication>
#include <qpa/qplatformnativeinterface.h>

#include <wayland-client.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

namespace {

// Wayland key codes are evdev codes; X11's are the same plus 8.
constexpr int kEvdevOffset = 8;
// 5: the keyboard's release request, and the repeat information it sends.
constexpr quint32 kMaxSeatVersion = 5;

RKWaylandKeyStateSource* self(void* data)
{
    return static_cast<RKWaylandKeyStateSource*>(data);
}

void onKeymap(void* data, wl_keyboard*, uint32_t format, int32_t fd, uint32_t size)
{
    self(data)->keymapReceived(format, fd, size);
}

void onEnter(void* data, wl_keyboard*, uint32_t, wl_surface*, wl_array* keys)
{
    QSet<int> codes;
    const auto* key = static_cast<const uint32_t*>(keys->data);
    for (size_t i = 0; i < keys->size / sizeof(uint32_t); ++i) {
        codes.insert(int(key[i]));
    }
    self(data)->entered(codes);
}

void onLeave(void* data, wl_keyboard*, uint32_t, wl_surface*)
{
    self(data)->left();
}

void onKey(void* data, wl_keyboard*, uint32_t, uint32_t, uint32_t key, uint32_t state)
{
    self(data)->keyChanged(key, state == WL_KEYBOARD_KEY_STATE_PRESSED);
}

void onModifiers(void* data, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t group)
{
    self(data)->groupChanged(group);
}

void onRepeatInfo(void*, wl_keyboard*, int32_t, int32_t)
{
}

constexpr wl_keyboard_listener kKeyboardListener = {onKeymap, onEnter, onLeave, onKey, onModifiers, onRepeatInfo};

void onCapabilities(void* data, wl_seat*, uint32_t capabilities)
{
    self(data)->capabilitiesChanged(capabilities);
}

void onSeatName(void*, wl_seat*, const char*)
{
}

constexpr wl_seat_listener kSeatListener = {onCapabilities, onSeatName};

void onGlobal(void* data, wl_registry*, uint32_t name, const char* interface, uint32_t version)
{
    auto* seat = static_cast<std::pair<quint32, quint32>*>(data);
    // The first seat is the one Qt serves, too.
    if (seat->first == 0 && qstrcmp(interface, wl_seat_interface.name) == 0) {
        *seat = {name, version};
    }
}

void onGlobalRemove(void*, wl_registry*, uint32_t)
{
}

constexpr wl_registry_listener kRegistryListener = {onGlobal, onGlobalRemove};

} // namespace

RKWaylandKeyStateSource::RKWaylandKeyStateSource(wl_display* display)
    : m_display(display)
{
}

RKWaylandKeyStateSource::~RKWaylandKeyStateSource()
{
    if (m_keyboard) {
        if (wl_keyboard_get_version(m_keyboard) >= WL_KEYBOARD_RELEASE_SINCE_VERSION) {
            wl_keyboard_release(m_keyboard);
        } else {
            wl_keyboard_destroy(m_keyboard);
        }
    }
    if (m_seat) {
        if (wl_seat_get_version(m_seat) >= WL_SEAT_RELEASE_SINCE_VERSION) {
            wl_seat_release(m_seat);
        } else {
            wl_seat_destroy(m_seat);
        }
    }
}

std::unique_ptr<RKWaylandKeyStateSource> RKWaylandKeyStateSource::create()
{
    if (QGuiApplication::platformName() != QStringLiteral("wayland")) {
        return nullptr;
    }
    QPlatformNativeInterface* native = QGuiApplication::platformNativeInterface();
    auto* display = native ? static_cast<wl_display*>(native->nativeResourceForIntegration("wl_display")) : nullptr;
    if (!display) {
        return nullptr;
    }
    std::unique_ptr<RKWaylandKeyStateSource> source(new RKWaylandKeyStateSource(display));
    if (!source->bind()) {
        return nullptr;
    }
    return source;
}

bool RKWaylandKeyStateSource::bind()
{
    // Bound on a queue of its own, so that the round trips dispatch only
    // these objects' events and nothing of Qt's; then moved to the default
    // queue, which Qt dispatches on the main thread.
    wl_event_queue* queue = wl_display_create_queue(m_display);
    auto* wrapper = static_cast<wl_display*>(wl_proxy_create_wrapper(m_display));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(wrapper), queue);
    wl_registry* registry = wl_display_get_registry(wrapper);
    std::pair<quint32, quint32> seat{0, 0};
    wl_registry_add_listener(registry, &kRegistryListener, &seat);
    wl_display_roundtrip_queue(m_display, queue);
    if (seat.first != 0) {
        m_seat = static_cast<wl_seat*>(
            wl_registry_bind(registry, seat.first, &wl_seat_interface, std::min(seat.second, kMaxSeatVersion)));
        wl_seat_add_listener(m_seat, &kSeatListener, this);
        // The seat's capabilities come back; with a keyboard among them
        // capabilitiesChanged asks for it on the same queue.
        wl_display_roundtrip_queue(m_display, queue);
        wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(m_seat), nullptr);
        if (m_keyboard) {
            wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(m_keyboard), nullptr);
        }
    }
    // Whatever Qt's reading thread put on the private queue meanwhile.
    wl_display_dispatch_queue_pending(m_display, queue);
    wl_registry_destroy(registry);
    wl_proxy_wrapper_destroy(wrapper);
    wl_event_queue_destroy(queue);
    return m_keyboard != nullptr;
}

void RKWaylandKeyStateSource::capabilitiesChanged(quint32 capabilities)
{
    const bool hasKeyboard = capabilities & WL_SEAT_CAPABILITY_KEYBOARD;
    if (hasKeyboard && !m_keyboard) {
        m_keyboard = wl_seat_get_keyboard(m_seat);
        wl_keyboard_add_listener(m_keyboard, &kKeyboardListener, this);
    } else if (!hasKeyboard && m_keyboard) {
        // The keyboard went away (unplugged): keep the object, nothing is held.
        left();
    }
}

void RKWaylandKeyStateSource::keymapReceived(quint32 format, int fd, quint32 size)
{
    if (format == WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1 && size > 0) {
        void* map = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
        if (map != MAP_FAILED) {
            // The text ends in a NUL, which is not part of it.
            const auto* text = static_cast<const char*>(map);
            RKSessionKeymap::instance()->setKeymap(QByteArray(text, qstrnlen(text, size)));
            munmap(map, size);
        }
    }
    close(fd);
}

void RKWaylandKeyStateSource::entered(const QSet<int>& evdevCodes)
{
    m_focused = true;
    m_held = evdevCodes;
}

void RKWaylandKeyStateSource::left()
{
    m_focused = false;
    m_held.clear();
}

void RKWaylandKeyStateSource::keyChanged(quint32 evdevCode, bool pressed)
{
    if (pressed) {
        m_held.insert(int(evdevCode));
    } else {
        m_held.remove(int(evdevCode));
    }
}

void RKWaylandKeyStateSource::groupChanged(quint32 group)
{
    RKSessionKeymap::instance()->setGroup(group);
}

bool RKWaylandKeyStateSource::isKeyHeld(int virtualKeyCode)
{
    const int x11KeyCode = RKKeyCodeTable::x11KeyCode(virtualKeyCode);
    return x11KeyCode != 0 && m_held.contains(x11KeyCode - kEvdevOffset);
}

bool RKWaylandKeyStateSource::knowsState(const QObject*)
{
    return m_focused;
}

QSet<int> RKWaylandKeyStateSource::heldX11KeyCodes()
{
    QSet<int> codes;
    for (const int code : std::as_const(m_held)) {
        codes.insert(code + kEvdevOffset);
    }
    return codes;
}
