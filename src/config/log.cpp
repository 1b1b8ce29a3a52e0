#include "config/log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "config/settings.h"

namespace lumadisc {

namespace {

// The handle is guarded so that a message from the audio thread never meets a closing file; the
// lock covers only the handle and the one write, never the formatting.
std::mutex g_logMutex;
FILE* g_logFile = nullptr;

int32_t threshold() {
    return settingLive(g_settings.enablelogging);
}

void closeLocked() {
    if (g_logFile == nullptr) return;
    std::fflush(g_logFile);
    std::fclose(g_logFile);
    g_logFile = nullptr;
}

}  // namespace

int logOpen(const char* path) {
    std::lock_guard<std::mutex> lock(g_logMutex);
    closeLocked();
    if (threshold() == 0) return 0;
    if (path == nullptr) return -1;
    // Linux has no text mode: "\n" is stored as it is.
    FILE* file = std::fopen(path, "w+");
    if (file == nullptr) return -1;
    std::setvbuf(file, nullptr, _IONBF, 0);
    g_logFile = file;
    return 0;
}

void logWrite(int level, const char* format, ...) {
    if (format == nullptr || level >= threshold() || !logIsOpen()) return;
    char message[kLogMessageMax + 1];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    if (length <= 0) return;
    const size_t size = length > kLogMessageMax ? kLogMessageMax : static_cast<size_t>(length);
    std::lock_guard<std::mutex> lock(g_logMutex);
    if (g_logFile != nullptr) std::fwrite(message, 1, size, g_logFile);
}

void logClose() {
    std::lock_guard<std::mutex> lock(g_logMutex);
    closeLocked();
}

bool logIsOpen() {
    std::lock_guard<std::mutex> lock(g_logMutex);
    return g_logFile != nullptr;
}

}  // namespace lumadisc
