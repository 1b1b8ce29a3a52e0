#include "config/message_file.h"

namespace lumadisc {

// The message file is not written yet: no hot key reports anything.
int messageFileInit() { return 0; }
void messageFileShutdown() {}
int messageFileCreate() { return 0; }
void messageFileRemove() {}
void messageWrite(const char*, ...) {}

}  // namespace lumadisc
