#include "platform/RKKeyStatus.h"

#include "platform/RKKeyStateSource.h"

#include <iterator>

namespace {

struct Modifier {
    qint64 flag;
    int leftKeyCode;
};

// Shift, Control, Option, Command, in the order they are compared. Only the
// left-hand keys are read: a right-hand modifier counts as not held.
constexpr Modifier kModifiers[] = {
    {0x20000, 56},
    {0x40000, 59},
    {0x80000, 58},
    {0x100000, 55},
};

} // namespace

bool ActiveKeyStatus(qint64 keyCode, qint64 flags)
{
    RKKeyStateSource* source = RKKeyStateSource::current();
    // The key code travels as a 16-bit virtual key code.
    if (keyCode != -1 && !source->isKeyHeld(static_cast<quint16>(keyCode))) {
        return false;
    }
    if (flags == 0) {
        return true;
    }
    // All four are sampled before any comparison, so the answer reflects one
    // moment rather than a modifier released half-way through.
    bool held[std::size(kModifiers)];
    for (std::size_t i = 0; i < std::size(kModifiers); ++i) {
        held[i] = source->isKeyHeld(kModifiers[i].leftKeyCode);
    }
    for (std::size_t i = 0; i < std::size(kModifiers); ++i) {
        const bool wanted = (flags & kModifiers[i].flag) != 0;
        if (wanted != held[i]) {
            return false;
        }
    }
    return true;
}
