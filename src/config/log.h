// The diagnostic log "./lumaDisc.log": written only while open and only below the threshold
// misc:enablelogging, one write call per message, at most 4095 characters a message.
#pragma once

namespace lumadisc {

constexpr int kLogMessageMax = 4095;

int logOpen(const char* path);
void logWrite(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));
void logClose();
bool logIsOpen();

}  // namespace lumadisc
