// The keyboard through the X server's global key map (the protocol's QueryKeymap request): no
// privileges needed, keys are seen while the emulator's window is not in front, and X keycodes are
// the key indices already.
//
// The request goes through libxcb, the library Xlib itself is built on, rather than through Xlib:
// Xlib ends the whole process when its connection breaks (the X server ends or crashes under a
// running emulator), and its handlers for that are process-wide. On a connection of libxcb's own, a
// broken connection is only an error on it: the key map then reads as unavailable and the caller
// falls back to evdev keyboards.
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

#include "input/input_devices.h"

namespace lumadisc {

namespace {

class X11Keyboard : public KeyboardSource {
public:
    ~X11Keyboard() override { disconnect(); }

    // Without $DISPLAY (a console, Wayland without XWayland) this fails, which is normal.
    bool connect() override {
        if (connection_ != nullptr) return true;
        xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(connection) != 0) {
            xcb_disconnect(connection);  // a connection that failed is still freed this way
            return false;
        }
        connection_ = connection;
        return true;
    }

    void disconnect() override {
        if (connection_ != nullptr) xcb_disconnect(connection_);
        connection_ = nullptr;
    }

    bool keymap(uint8_t keys[32]) override {
        if (connection_ == nullptr) return false;
        xcb_query_keymap_reply_t* reply =
            xcb_query_keymap_reply(connection_, xcb_query_keymap(connection_), nullptr);
        if (reply == nullptr) return false;  // the connection broke, or the server refused
        std::memcpy(keys, reply->keys, 32);
        std::free(reply);
        return true;
    }

private:
    xcb_connection_t* connection_ = nullptr;
};

}  // namespace

std::unique_ptr<KeyboardSource> makeX11Keyboard() { return std::make_unique<X11Keyboard>(); }

}  // namespace lumadisc
