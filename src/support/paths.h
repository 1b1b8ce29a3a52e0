// Path helpers and small process services. Paths are NUL-terminated 8-bit strings of at most
// 4095 characters; the editing helpers never write past the capacity they are given.
#pragma once

#include <cstddef>

namespace lumadisc {

constexpr size_t kPathCapacity = 4096;

// $TMP, or "/tmp" when it is unset; a static buffer.
const char* tempDirectory();
// Creates every missing directory of a '/'-separated path; 0 or -1 (errno ENOTDIR for a file).
int makeDirectories(const char* path);
int processId();
// Sleeps seconds * 1000 milliseconds, truncated to whole milliseconds.
void sleepSeconds(double seconds);
// 1 when text ends with suffix ignoring case; 0 when the suffix is empty or longer.
int endsWithNoCase(const char* text, const char* suffix);
// Keeps up to and including the last backslash; no backslash leaves it empty.
void cutToDirectory(char* path);
// Keeps what follows the last backslash.
void cutToFileName(char* path);
// Appends a backslash unless there is one; -1 (path unchanged) when it would not fit.
int addTrailingBackslash(char* path, size_t capacity);
void dropTrailingBackslash(char* path);
// Replaces everything from the last '.' with extension (".bin"), or appends it when there is no
// dot; -1 (path unchanged) when the result would not fit in capacity bytes.
int replaceExtension(char* path, size_t capacity, const char* extension);

}  // namespace lumadisc
