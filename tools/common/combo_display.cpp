#include "tools/common/combo_display.h"

#include <cstdio>
#include <utility>

#include "input/key_names.h"

namespace lumadisc {

namespace {

// The key table's names ("Control_Left", "'C'", "Bracket_Left") in the words of a keyboard's caps.
std::string readableKey(const char* name) {
    if (name == nullptr) return "?";
    std::string text = name;
    static const std::pair<const char*, const char*> kWords[] = {
        {"Control_Left", "Ctrl"},   {"Control_Right", "Right Ctrl"}, {"Alt_Left", "Alt"},
        {"Alt_Right", "AltGr"},     {"Shift_Left", "Shift"},         {"Shift_Right", "Right Shift"},
        {"Super_Left", "Super"},    {"Super_Right", "Right Super"},
    };
    for (const auto& [from, to] : kWords) {
        if (text == from) return to;
    }
    if (text.size() == 3 && text.front() == '\'' && text.back() == '\'') return text.substr(1, 1);
    for (char& c : text) {
        if (c == '_') c = ' ';
    }
    return text;
}

std::string pointerText(uint32_t family, uint32_t slot, uint32_t code) {
    const std::string device = family == kFamilyMouse ? (slot == 0 ? "Mouse" : "Mouse " + std::to_string(slot + 1))
                                                      : "Joystick " + std::to_string(slot + 1);
    char part[32];
    pointerInputName(family, code, part, sizeof part);
    const std::string name = part;
    if (name.size() > 1 && name[0] == 'B') return device + " button " + std::to_string(std::stoul(name.substr(1)) + 1);
    if (name.size() > 2 && name[0] == 'A') {
        const unsigned axis = static_cast<unsigned>(std::stoul(name.substr(1, name.size() - 2)));
        const bool plus = name.back() == '+';
        if (family == kFamilyMouse && axis < 3) {
            static const char* const kPlus[] = {"right", "down", "wheel up"};
            static const char* const kMinus[] = {"left", "up", "wheel down"};
            return device + " " + (plus ? kPlus[axis] : kMinus[axis]);
        }
        return device + " axis " + std::to_string(axis + 1) + (plus ? "+" : "-");
    }
    return device + " " + name;
}

}  // namespace

std::string comboDisplayText(const KeyCombo& combo) {
    if (combo.count <= 0) return "Unassigned";
    std::string text;
    for (int i = 0; i < combo.count && i < kComboInputs; ++i) {
        const KeyInput& input = combo.inputs[i];
        const uint32_t family = (input.device >> 4) & 0xF, slot = input.device & 0xF;
        if (!text.empty()) text += " + ";
        if (family == kFamilyKeyboard) {
            const uint32_t mask = (input.code >> 8) & 0xFF;
            for (int bit = 0; bit < kModifierCount; ++bit) {
                if ((mask & (1u << bit)) != 0) text += readableKey(keyName(kModifierKeys[bit])) + " + ";
            }
            text += readableKey(keyName(input.code & 0xFF));
            if (slot > 0) text += " (keyboard " + std::to_string(slot + 1) + ")";
        } else if (family == kFamilyMouse || family == kFamilyJoystick) {
            text += pointerText(family, slot, input.code);
        } else {
            text += "?";
        }
    }
    return text;
}

}  // namespace lumadisc
