// Key combinations: the settings-file string form, readable text, and "just pressed" tracking.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumadisc {

struct KeyInput {
    uint32_t code;    // keyboard: modifier mask << 8 | key index; mouse/joystick: button or direction
    uint32_t axis;    // 1 for a mouse or joystick direction (code above 31), else 0
    uint32_t device;  // family << 4 | slot
};

constexpr int kComboInputs = 3;

struct KeyCombo {
    KeyInput inputs[kComboInputs];
    int32_t count;  // 0 is the empty (unassigned) combination
};

bool comboEqual(const KeyCombo& a, const KeyCombo& b);
// Count as two hex digits, then per input device (2), axis flag (2), code (4); either case is read,
// a count above 3 reads as 3, fields missing from a short string read as 0.
KeyCombo comboParse(const char* text);
// Lower-case string form; `size` of at least 27 holds every combination.
void comboFormat(const KeyCombo& combo, char* out, size_t size);
// "Kb0_Control_Left + Alt_Left + 'C'", "Ms0_B1 + Js1_A16+", or "Unassigned"; a static buffer.
const char* comboText(const KeyCombo& combo);

// The held and new lists, in the list pool. Create empties them; destroy frees them.
int comboTrackingCreate();
void comboTrackingDestroy();
// Called by each input poll: the combinations that became fully down since the last poll join the
// held ones.
void comboTrackingAdvance();
// 1 the moment every input of the combination is down (once until it has been seen released), else 0.
int comboPressed(const char* text);
int comboPressedCombo(const KeyCombo& combo);

}  // namespace lumadisc
