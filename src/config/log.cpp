#include "config/log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "config/settings.h"

namespace lumadisc {

namespace {

// The handle is guarded so that a message from the audio thread never meets a closing file; the
// lock covers only the handle and the one write, never the formatting.
std::mutex g_logMutex;
FILE* g_logFile = nullptr;
size_t g_logBytes = 0;  // written since the file was (re)started

constexpr const char* kRestartLine = "[CDR] Warning: the log reached 16 MB and was started again.\n";

// A log at its bound is emptied and started again with a line saying so, so that a game reading for
// hours with logging on keeps the latest 16 MB, not the disk's last byte.
void restartIfFull(size_t adding) {
    if (g_logBytes + adding <= kLogLimitBytes) return;
    std::fflush(g_logFile);
    if (ftruncate(fileno(g_logFile), 0) != 0) return;
    std::rewind(g_logFile);
    const size_t length = std::strlen(kRestartLine);
    std::fwrite(kRestartLine, 1, length, g_logFile);
    g_logBytes = length;
}

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
    // Linux has no text mode: "\n" is stored as it is. Opened without blocking and kept only when it
    // is a file: a FIFO in its place would stop the host until something reads it.
    const int fd = ::open(path, O_RDWR | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0644);
    if (fd < 0) return -1;
    struct stat status {};
    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) || ftruncate(fd, 0) != 0) {
        ::close(fd);
        return -1;
    }
    FILE* file = fdopen(fd, "w+");
    if (file == nullptr) {
        ::close(fd);
        return -1;
    }
    std::setvbuf(file, nullptr, _IONBF, 0);
    g_logFile = file;
    g_logBytes = 0;
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
    if (g_logFile == nullptr) return;
    restartIfFull(size);
    std::fwrite(message, 1, size, g_logFile);
    g_logBytes += size;
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
