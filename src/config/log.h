// The diagnostic log "./lumaDisc.log": written only while open and only below the threshold
// misc:enablelogging, one write call per message, at most 4095 characters a message, at most 16 MB.
#pragma once

#include <cstddef>

namespace lumadisc {

constexpr int kLogMessageMax = 4095;
// The most the file holds: a message that would pass it empties the file first, which then starts
// with "[CDR] Warning: the log reached 16 MB and was started again."
constexpr size_t kLogLimitBytes = 16 * 1024 * 1024;

// Message levels: a message is written when its level is below misc:enablelogging, so with logging on
// the plugin's messages reach the file and the controller emulation's stay out.
constexpr int kLogPlugin = 0;
constexpr int kLogController = 1;

int logOpen(const char* path);
void logWrite(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));
void logClose();
bool logIsOpen();

}  // namespace lumadisc
