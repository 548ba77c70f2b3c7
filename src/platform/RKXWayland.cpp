#include "platform/RKXWayland.h"

#include <QString>

bool RKIsXWayland(bool hasXWaylandExtension)
{
    return hasXWaylandExtension || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
           || qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland");
}
