// Key combinations as the settings window shows them to a player.
#include <gtest/gtest.h>

#include "input/key_combo.h"
#include "tools/common/combo_display.h"

namespace lumadisc {
namespace {

TEST(ComboDisplay, CombinationsReadAsTheKeysAndButtonsAreLabelled) {
    const struct { const char* stored; const char* shown; } cases[] = {
        {"0110004436", "Ctrl + Alt + C"},             // the settings window's built-in binding
        {"0110004b", "F9"},                            // the cover's
        {"", "Unassigned"},
        {"0120000001", "Mouse button 2"},
        {"0131000003", "Joystick 2 button 4"},
        {"021000004b20000001", "F9 + Mouse button 2"},
        {"0111004b", "F9 (keyboard 2)"},
    };
    for (const auto& c : cases) EXPECT_EQ(comboDisplayText(comboParse(c.stored)), c.shown) << c.stored;
}

}  // namespace
}  // namespace lumadisc
