#pragma once

#include <QtGlobal>

// Whether a key combination is held down at this moment: the main key (unless
// its code is -1) and exactly its modifiers among left Shift, Control, Option
// and Command (flags 0x20000, 0x40000, 0x80000, 0x100000; all other flag bits
// are ignored). A combination without modifiers is held when its key is held,
// whatever modifiers are held with it. Reads RKKeyStateSource::current().
bool ActiveKeyStatus(qint64 keyCode, qint64 flags);
