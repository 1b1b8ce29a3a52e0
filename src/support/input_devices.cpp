#include "support/input_devices.h"

namespace lumadisc {

// No input device is opened yet, so no hot key can fire.
int inputInit() { return 0; }
void inputShutdown() {}
int inputOpen() { return 0; }
void inputClose() {}

}  // namespace lumadisc
