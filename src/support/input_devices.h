// Keyboard, mice and joysticks polled for the hot keys.
#pragma once

namespace lumadisc {

int inputInit();
void inputShutdown();
int inputOpen();
void inputClose();

}  // namespace lumadisc
