// A keyboard for the tests' Wayland sessions: a virtual keyboard of the
// compositor with the standard "us" keymap, so that the physical key codes
// sent (evdev: S 31, P 25, Return 28) arrive as they would from a real
// keyboard. Reads lines from standard input, "press CODE" or "release CODE",
// and answers "ok" once the compositor has taken each. Keys stay down until
// released or the helper ends.
#include "virtual-keyboard-unstable-v1-client-protocol.h"

#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

struct Globals {
    wl_seat* seat = nullptr;
    zwp_virtual_keyboard_manager_v1* manager = nullptr;
};

void onGlobal(void* data, wl_registry* registry, uint32_t name, const char* interface, uint32_t)
{
    auto* globals = static_cast<Globals*>(data);
    if (std::strcmp(interface, wl_seat_interface.name) == 0 && !globals->seat) {
        globals->seat = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
    } else if (std::strcmp(interface, zwp_virtual_keyboard_manager_v1_interface.name) == 0) {
        globals->manager = static_cast<zwp_virtual_keyboard_manager_v1*>(
            wl_registry_bind(registry, name, &zwp_virtual_keyboard_manager_v1_interface, 1));
    }
}

void onGlobalRemove(void*, wl_registry*, uint32_t) {}

const wl_registry_listener kRegistryListener = {onGlobal, onGlobalRemove};

int fail(const char* what)
{
    std::fprintf(stderr, "VirtualKeyboardHelper: %s\n", what);
    return 1;
}

} // namespace

int main()
{
    wl_display* display = wl_display_connect(nullptr);
    if (!display) {
        return fail("no Wayland display");
    }
    Globals globals;
    wl_registry_add_listener(wl_display_get_registry(display), &kRegistryListener, &globals);
    wl_display_roundtrip(display);
    if (!globals.seat || !globals.manager) {
        return fail("the compositor has no seat or no virtual keyboards");
    }
    zwp_virtual_keyboard_v1* keyboard =
        zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(globals.manager, globals.seat);

    xkb_context* context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    xkb_rule_names names{};
    names.layout = "us";
    xkb_keymap* keymap = xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    char* text = keymap ? xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1) : nullptr;
    if (!text) {
        return fail("no \"us\" keymap");
    }
    const size_t size = std::strlen(text) + 1;
    const int fd = memfd_create("keymap", MFD_CLOEXEC);
    if (fd < 0 || write(fd, text, size) != ssize_t(size)) {
        return fail("cannot pass the keymap");
    }
    zwp_virtual_keyboard_v1_keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, fd, uint32_t(size));
    wl_display_roundtrip(display);
    close(fd);
    std::free(text);

    // A virtual keyboard's modifiers are whatever its client says: without
    // them a held Control would reach the application as a plain key.
    xkb_state* state = xkb_state_new(keymap);
    uint32_t time = 0;
    char line[64];
    while (std::fgets(line, sizeof line, stdin)) {
        unsigned code = 0;
        char verb[16] = {};
        if (std::sscanf(line, "%15s %u", verb, &code) != 2) {
            continue;
        }
        const bool press = std::strcmp(verb, "press") == 0;
        zwp_virtual_keyboard_v1_key(keyboard, time += 10, code,
                                    press ? WL_KEYBOARD_KEY_STATE_PRESSED : WL_KEYBOARD_KEY_STATE_RELEASED);
        if (xkb_state_update_key(state, code + 8, press ? XKB_KEY_DOWN : XKB_KEY_UP) != 0) {
            zwp_virtual_keyboard_v1_modifiers(keyboard, xkb_state_serialize_mods(state, XKB_STATE_MODS_DEPRESSED),
                                              xkb_state_serialize_mods(state, XKB_STATE_MODS_LATCHED),
                                              xkb_state_serialize_mods(state, XKB_STATE_MODS_LOCKED),
                                              xkb_state_serialize_layout(state, XKB_STATE_LAYOUT_EFFECTIVE));
        }
        if (wl_display_roundtrip(display) < 0) {
            return fail("the compositor went away");
        }
        std::puts("ok");
        std::fflush(stdout);
    }
    zwp_virtual_keyboard_v1_destroy(keyboard);
    wl_display_roundtrip(display);
    xkb_state_unref(state);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
    wl_display_disconnect(display);
    return 0;
}
