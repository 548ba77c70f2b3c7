#pragma once

// The one table between stored key codes and the keys of a PC keyboard.
// Stored key codes are the virtual key codes of the US ANSI layout (0 A,
// 35 P, 49 Space, 96 F5, ...), so a stored combination means the same key
// everywhere; X11 key codes (evdev code + 8) are what the X server, XKB and
// Qt's native scan codes on xcb and Wayland speak.
namespace RKKeyCodeTable {

// The X11 key code of a stored key code, or 0 when the key has none.
int x11KeyCode(int virtualKeyCode);

// The stored key code of an X11 key code, or -1 when the key has none.
int virtualKeyCode(int x11KeyCode);

// Whether the key is one of the function keys (F1…, the arrows, Home, End,
// Page Up/Down, forward Delete, Help, Clear) whose key events carry the
// Function modifier flag.
bool isFunctionKey(int virtualKeyCode);

} // namespace RKKeyCodeTable
