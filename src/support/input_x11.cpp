// The keyboard through the X server's global key map: no privileges needed, keys are seen while the
// emulator's window is not in front, and X keycodes are the key indices already.
#include <X11/Xlib.h>

#include "support/input_devices.h"

namespace lumadisc {

namespace {

class X11Keyboard : public KeyboardSource {
public:
    ~X11Keyboard() override { disconnect(); }

    // Without $DISPLAY (a console, Wayland without XWayland) this fails, which is normal.
    bool connect() override {
        if (display_ == nullptr) display_ = XOpenDisplay(nullptr);
        return display_ != nullptr;
    }

    void disconnect() override {
        if (display_ != nullptr) XCloseDisplay(display_);
        display_ = nullptr;
    }

    bool keymap(uint8_t keys[32]) override {
        if (display_ == nullptr) return false;
        char map[32] = {};
        XQueryKeymap(display_, map);
        for (int i = 0; i < 32; ++i) keys[i] = static_cast<uint8_t>(map[i]);
        return true;
    }

private:
    Display* display_ = nullptr;
};

}  // namespace

std::unique_ptr<KeyboardSource> makeX11Keyboard() { return std::make_unique<X11Keyboard>(); }

}  // namespace lumadisc
