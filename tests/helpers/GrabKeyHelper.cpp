// A second X client for the tests: holds a passive grab of one key
// combination on the root window, the way a desktop binds a shortcut, until
// its standard input closes. Usage: GrabKeyHelper <X key code> <X modifier mask>.
// Prints "grabbed" once the server has accepted the grab.
#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s keycode modifiers\n", argv[0]);
        return 2;
    }
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) {
        std::fprintf(stderr, "cannot open the display\n");
        return 1;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const xcb_void_cookie_t cookie =
        xcb_grab_key_checked(connection, 0, root, static_cast<uint16_t>(std::atoi(argv[2])),
                             static_cast<xcb_keycode_t>(std::atoi(argv[1])), XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    if (xcb_generic_error_t* error = xcb_request_check(connection, cookie)) {
        std::fprintf(stderr, "grab refused (error %d)\n", error->error_code);
        return 1;
    }
    std::printf("grabbed\n");
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    xcb_disconnect(connection);
    return 0;
}
