// Combination strings as the settings file holds them, their readable text, and the names of inputs.
#include <gtest/gtest.h>

#include <string>

#include "input/key_combo.h"

namespace lumadisc {
namespace {

KeyCombo combo(std::initializer_list<KeyInput> inputs) {
    KeyCombo c{};
    for (const KeyInput& input : inputs) c.inputs[c.count++] = input;
    return c;
}

std::string formatted(const KeyCombo& c) {
    char text[32] = {};
    comboFormat(c, text, sizeof text);
    return text;
}

TEST(KeyComboStrings, ReadAsTheSettingsFileWritesThem) {
    const struct {
        const char* text;
        KeyCombo expected;
        const char* writtenBack;
    } cases[] = {
        {"", {}, "00"},
        {"00", {}, "00"},
        {"0110004b", combo({{0x4b, 0, 0x10}}), "011000004b"},
        {"0110004B", combo({{0x4b, 0, 0x10}}), "011000004b"},
        {"0110004436", combo({{0x4436, 0, 0x10}}), "0110004436"},
        // A count above three reads three inputs; a fourth is never looked at.
        {"041000004b20000001300100410000ffff", combo({{0x4b, 0, 0x10}, {1, 0, 0x20}, {0x41, 1, 0x30}}),
         "031000004b2000000130010041"},
        // Fields missing from a short string read as zero, a field cut short keeps its digits.
        {"021000004b2001", combo({{0x4b, 0, 0x10}, {0, 1, 0x20}}), "021000004b20010000"},
        {"01100", combo({{0, 0, 0x10}}), "0110000000"},
        {"zz10", {}, "00"},
    };
    for (const auto& c : cases) {
        const KeyCombo parsed = comboParse(c.text);
        EXPECT_TRUE(comboEqual(parsed, c.expected)) << c.text;
        EXPECT_EQ(formatted(parsed), c.writtenBack) << c.text;
    }
}

TEST(KeyComboText, NamesEveryInputWithItsDevice) {
    const struct {
        const char* text;
        const char* expected;
    } cases[] = {
        {"", "Unassigned"},
        {"0110004b", "Kb0_F9"},
        {"0110004436", "Kb0_Control_Left + Alt_Left + 'C'"},
        {"011000024b", "Kb0_Shift_Right + F9"},
        {"011000ff5c", "Kb0_Shift_Left + Shift_Right + Control_Left + Control_Right + Super_Left + Super_Right + "
                       "Alt_Left + Alt_Right + 0x5C"},
        {"021000004b21000001", "Kb0_F9 + Ms1_B1"},
        {"0120010022", "Ms0_A1-"},
        {"0120010025", "Ms0_A2+"},
        {"013f010022", "Js15_A1+"},
        {"03300100403001004130010042", "Js0_A16- + Js0_A16+ + Js0_A17+"},
        {"0130010043", "Js0_A17-"},
        {"0110000001", "Kb0_0x01"},
        {"0110000080", "Kb0_0x80"},
        {"01100000aa", "Kb0_XF86Eject"},
        {"013001005f", "Js0_A31-"},
        {"0130000060", "Js0_?96"},
        {"0150000001", "Dev50_?1"},
    };
    for (const auto& c : cases) EXPECT_STREQ(comboText(comboParse(c.text)), c.expected) << c.text;
}

}  // namespace
}  // namespace lumadisc
