// The status lines of the hot keys, appended to "cdr.messages" for another program to read. The
// file lives in a per-process directory: $TMP (or /tmp), "qorvin", the process id.
#pragma once

#include <cstddef>

namespace lumadisc {

// Lines are dropped once the file holds this many bytes, until a reader shortens it.
constexpr long kMessageFileLimit = 1024;
constexpr const char* kMessageFileName = "cdr.messages";
constexpr const char* kMessageVendorDirectory = "qorvin";

int messageFileInit();
void messageFileShutdown();
// Builds the paths, creates the directory and an empty file; 0 whether or not that worked.
int messageFileCreate();
// Deletes the file and the per-process directory (not the one above it).
void messageFileRemove();
// Appends one line while the file exists and is under the limit; never creates the file.
void messageWrite(const char* format, ...) __attribute__((format(printf, 1, 2)));
// The file's path since the last create; empty before.
const char* messageFilePath();

}  // namespace lumadisc
