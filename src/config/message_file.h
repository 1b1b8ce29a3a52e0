// The status lines of the hot keys, appended to "cdr.messages" for another program to read.
#pragma once

namespace lumadisc {

int messageFileInit();
void messageFileShutdown();
int messageFileCreate();
void messageFileRemove();
void messageWrite(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace lumadisc
