#include "support/paths.h"

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace lumadisc {

namespace {

char g_tempDirectory[kPathCapacity];

// One level of makeDirectories: an existing directory is fine, a missing one is created.
int ensureDirectory(const std::string& directory) {
    struct stat status {};
    if (stat(directory.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode)) return 0;
        errno = ENOTDIR;
        return -1;
    }
    if (mkdir(directory.c_str(), 0777) == 0) return 0;
    // Another process may have made it in the meantime.
    if (errno == EEXIST && stat(directory.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return 0;
    return -1;
}

bool sameNoCase(char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

char* lastBackslash(char* path) {
    return std::strrchr(path, '\\');
}

}  // namespace

const char* tempDirectory() {
    const char* tmp = std::getenv("TMP");
    if (tmp == nullptr) tmp = "/tmp";
    const size_t length = strnlen(tmp, kPathCapacity - 1);
    std::memcpy(g_tempDirectory, tmp, length);
    g_tempDirectory[length] = '\0';
    return g_tempDirectory;
}

int makeDirectories(const char* path) {
    if (path == nullptr) {
        errno = EINVAL;
        return -1;
    }
    const std::string copy(path);
    // Each '/' ends one level, except one that stands first or directly follows the previous one.
    for (size_t slash = copy.find('/'); slash != std::string::npos; slash = copy.find('/', slash + 1)) {
        if (slash == 0 || copy[slash - 1] == '/') continue;
        if (ensureDirectory(copy.substr(0, slash)) != 0) return -1;
    }
    return ensureDirectory(copy);
}

int processId() {
    return static_cast<int>(getpid());
}

void sleepSeconds(double seconds) {
    const double milliseconds = seconds * 1000.0;
    // NaN, negative and sub-millisecond requests sleep not at all; absurd ones are capped at a day.
    if (!(milliseconds >= 1.0)) return;
    const int64_t whole = milliseconds > 86400000.0 ? 86400000 : static_cast<int64_t>(milliseconds);
    timespec request{static_cast<time_t>(whole / 1000), static_cast<long>(whole % 1000) * 1000000};
    timespec remaining{};
    while (nanosleep(&request, &remaining) != 0 && errno == EINTR) request = remaining;
}

int endsWithNoCase(const char* text, const char* suffix) {
    if (text == nullptr || suffix == nullptr) return 0;
    const size_t textLength = std::strlen(text);
    const size_t suffixLength = std::strlen(suffix);
    if (suffixLength == 0 || suffixLength > textLength) return 0;
    const char* tail = text + textLength - suffixLength;
    for (size_t i = 0; i < suffixLength; ++i) {
        if (!sameNoCase(tail[i], suffix[i])) return 0;
    }
    return 1;
}

void cutToDirectory(char* path) {
    if (path == nullptr) return;
    char* slash = lastBackslash(path);
    if (slash == nullptr) {
        path[0] = '\0';
    } else {
        slash[1] = '\0';
    }
}

void cutToFileName(char* path) {
    if (path == nullptr) return;
    const char* slash = lastBackslash(path);
    if (slash != nullptr) std::memmove(path, slash + 1, std::strlen(slash + 1) + 1);
}

int addTrailingBackslash(char* path, size_t capacity) {
    if (path == nullptr) return -1;
    const size_t length = strnlen(path, capacity);
    if (length == capacity) return -1;  // not terminated within its buffer
    if (length > 0 && path[length - 1] == '\\') return 0;
    if (length + 2 > capacity) return -1;
    path[length] = '\\';
    path[length + 1] = '\0';
    return 0;
}

void dropTrailingBackslash(char* path) {
    if (path == nullptr) return;
    const size_t length = std::strlen(path);
    if (length > 0 && path[length - 1] == '\\') path[length - 1] = '\0';
}

int replaceExtension(char* path, size_t capacity, const char* extension) {
    if (path == nullptr || extension == nullptr) return -1;
    const size_t length = strnlen(path, capacity);
    if (length == capacity) return -1;  // not terminated within its buffer
    const char* dot = std::strrchr(path, '.');
    const size_t keep = dot != nullptr ? static_cast<size_t>(dot - path) : length;
    const size_t extensionLength = std::strlen(extension);
    if (keep + extensionLength + 1 > capacity) return -1;
    std::memcpy(path + keep, extension, extensionLength + 1);
    return 0;
}

}  // namespace lumadisc
