// Readable names of the inputs that key combinations are made of.
#pragma once

#include <cstdint>

namespace lumadisc {

// Device families, as the high nibble of a device byte.
enum InputFamily : uint32_t { kFamilyKeyboard = 1, kFamilyMouse = 2, kFamilyJoystick = 3 };

// Keyboard modifier bits (bits 8..15 of a keyboard code), in name order.
constexpr int kModifierCount = 8;
// The key index of each modifier bit, lowest bit first.
extern const uint8_t kModifierKeys[kModifierCount];

// Name of a key index (the X keycode: Linux key code + 8); unnamed indices read as "0x5C".
const char* keyName(uint32_t index);
// Name of a mouse or joystick input code: "B7", "A0-", "A1+"; codes outside the family's range
// read as "?" followed by the code.
void pointerInputName(uint32_t family, uint32_t code, char* out, int size);

}  // namespace lumadisc
