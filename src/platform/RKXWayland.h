#pragma once

// Whether an X display is XWayland's, which sees the keyboard only while
// one of its windows has the focus and knows nothing of the compositor's
// shortcuts. It says so itself from XWayland 23.1 on (the XWAYLAND
// extension); before, the session tells: a Wayland session (WAYLAND_DISPLAY,
// or XDG_SESSION_TYPE=wayland) serves its X clients through XWayland.
bool RKIsXWayland(bool hasXWaylandExtension);
