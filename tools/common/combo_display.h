// A key combination as a player reads it: "Ctrl + Alt + C", "F9", "Mouse button 2",
// "Joystick 2 button 4"; the settings window and `lumadisc keys` show it so.
#pragma once

#include <string>

#include "input/key_combo.h"

namespace lumadisc {

// "Unassigned" for the empty combination.
std::string comboDisplayText(const KeyCombo& combo);

}  // namespace lumadisc
