// Opening a file that must be an ordinary file, without ever blocking: a FIFO, socket or device where
// a file belongs (a hostile or broken image, a settings file replaced by a pipe) is refused at once,
// with the reason, instead of waiting for a writer that never comes.
#pragma once

#include <string>

namespace lumadisc {

// Opens path read-only: the descriptor (blocking reads, close-on-exec), or -1 with *why ("no such
// file", "a FIFO, not a file", ...).
int openRegularFile(const char* path, std::string* why);
// Whether path is an ordinary file that can be opened for reading, checked the same way; for libraries
// that open the path themselves.
bool isReadableRegularFile(const char* path, std::string* why);

}  // namespace lumadisc
