#include "input/key_names.h"

#include <cstdio>

namespace lumadisc {

namespace {

// Key indices follow the X server's evdev keycodes, so an X keymap indexes this table directly.
constexpr const char* kKeyNames[256] = {
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,  // 0
    nullptr, "Escape", "'1'", "'2'", "'3'", "'4'", "'5'", "'6'",  // 8
    "'7'", "'8'", "'9'", "'0'", "Minus", "Equal", "Backspace", "Tab",  // 16
    "'Q'", "'W'", "'E'", "'R'", "'T'", "'Y'", "'U'", "'I'",  // 24
    "'O'", "'P'", "Bracket_Left", "Bracket_Right", "Return", "Control_Left", "'A'", "'S'",  // 32
    "'D'", "'F'", "'G'", "'H'", "'J'", "'K'", "'L'", "Semicolon",  // 40
    "Apostrophe", "Grave", "Shift_Left", "Backslash", "'Z'", "'X'", "'C'", "'V'",  // 48
    "'B'", "'N'", "'M'", "Comma", "Period", "Slash", "Shift_Right", "Kp_Multiply",  // 56
    "Alt_Left", "Space", "Caps_Lock", "F1", "F2", "F3", "F4", "F5",  // 64
    "F6", "F7", "F8", "F9", "F10", "Num_Lock", "Scroll_Lock", "Kp_7",  // 72
    "Kp_8", "Kp_9", "Kp_Subtract", "Kp_4", "Kp_5", "Kp_6", "Kp_Add", "Kp_1",  // 80
    "Kp_2", "Kp_3", "Kp_0", "Kp_Period", nullptr, nullptr, nullptr, "F11",  // 88
    "F12", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,  // 96
    "Kp_Enter", "Control_Right", "Kp_Divide", "Print", "Alt_Right", "Linefeed", "Home", "Up",  // 104
    "Prior", "Left", "Right", "End", "Down", "Next", "Insert", "Delete",  // 112
    nullptr, "XF86AudioMute", "XF86AudioLowerVolume", "XF86AudioRaiseVolume", "XF86PowerOff", "Kp_Equal", "PlusMinus", "Pause",  // 120
    nullptr, "Kp_Decimal", "Hangul", "Hangul_Hanja", nullptr, "Super_Left", "Super_Right", "Menu",  // 128
    "Cancel", "Redo", "SunProps", "Undo", "SunFront", "XF86Copy", "SunOpen", "XF86Paste",  // 136
    "Find", "XF86Cut", "Help", "XF86MenuKB", "XF86Calculator", nullptr, "XF86Sleep", "XF86WakeUp",  // 144
    "XF86Explorer", "XF86Send", nullptr, "XF86Xfer", "XF86Launch1", "XF86Launch2", "XF86WWW", "XF86DOS",  // 152
    "XF86ScreenSaver", nullptr, "XF86RotateWindows", "XF86Mail", "XF86Favorites", "XF86MyComputer", "XF86Back", "XF86Forward",  // 160
    nullptr, "XF86Eject", "XF86Eject", "XF86AudioNext", "XF86AudioPlay", "XF86AudioPrev", "XF86AudioStop", "XF86AudioRecord",  // 168
    "XF86AudioRewind", "XF86Phone", nullptr, "XF86Tools", "XF86HomePage", "XF86Reload", "XF86Close", nullptr,  // 176
    nullptr, "XF86ScrollUp", "XF86ScrollDown", "Parenleft", "Parenright", "XF86New", "Redo", nullptr,  // 184
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,  // 192
    "XF86TouchpadToggle", nullptr, nullptr, "Mode_switch", nullptr, nullptr, nullptr, nullptr,  // 200
    "XF86AudioPlay", "XF86AudioPause", "XF86Launch3", "XF86Launch4", nullptr, "XF86Suspend", "XF86Close", "XF86AudioPlay",  // 208
    "XF86AudioForward", nullptr, "Print", nullptr, "XF86WebCam", nullptr, nullptr, "XF86Mail",  // 216
    nullptr, "XF86Search", nullptr, "XF86Finance", nullptr, "XF86Shop", nullptr, "Cancel",  // 224
    "XF86MonBrightnessDown", "XF86MonBrightnessUp", "XF86AudioMedia", "XF86Display", "XF86KbdLightOnOff", "XF86KbdBrightnessDown", "XF86KbdBrightnessUp", "XF86Send",  // 232
    "XF86Reply", "XF86MailForward", "XF86Save", "XF86Documents", "XF86Battery", "XF86Bluetooth", "XF86WLAN", nullptr,  // 240
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,  // 248
};

struct HexNames {
    char text[256][5];
    HexNames() {
        for (int i = 0; i < 256; ++i) std::snprintf(text[i], sizeof text[i], "0x%02X", i);
    }
};

}  // namespace

const uint8_t kModifierKeys[kModifierCount] = {50, 62, 37, 105, 133, 134, 64, 108};

const char* keyName(uint32_t index) {
    static const HexNames hex;
    index &= 0xFF;
    return kKeyNames[index] != nullptr ? kKeyNames[index] : hex.text[index];
}

void pointerInputName(uint32_t family, uint32_t code, char* out, int size) {
    const uint32_t directionEnd = family == kFamilyMouse ? 64 : 96;
    if (code < 32) {
        std::snprintf(out, size, "B%u", code);
    } else if (code < directionEnd) {
        const uint32_t axis = (code - 32) / 2;
        bool negative = (code % 2) == 0;
        // A joystick's odd axes grow downwards (Y, rotation Y, ...): their negative side is shown as '+'.
        if (family == kFamilyJoystick && axis % 2 == 1) negative = !negative;
        std::snprintf(out, size, "A%u%c", axis, negative ? '-' : '+');
    } else {
        std::snprintf(out, size, "?%u", code);
    }
}

}  // namespace lumadisc
