#include "platform/RKKeyStateSource.h"

#include "platform/RKKeyCodeTable.h"
#include "platform/RKX11KeyStateSource.h"

#include <atomic>

namespace {

std::atomic<RKKeyStateSource*> g_injected{nullptr};

} // namespace

RKKeyStateSource* RKKeyStateSource::current()
{
    if (RKKeyStateSource* injected = g_injected.load()) {
        return injected;
    }
    static RKX11KeyStateSource x11;
    return &x11;
}

void RKKeyStateSource::setCurrent(RKKeyStateSource* source)
{
    g_injected.store(source);
}

bool RKKeyStateSource::knowsState(const QObject*)
{
    return true;
}

QSet<int> RKKeyStateSource::heldX11KeyCodes()
{
    QSet<int> held;
    for (int code = 0; code < 128; ++code) {
        const int x11KeyCode = RKKeyCodeTable::x11KeyCode(code);
        if (x11KeyCode != 0 && isKeyHeld(code)) {
            held.insert(x11KeyCode);
        }
    }
    return held;
}
