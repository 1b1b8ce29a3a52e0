// Reading a text disc description (a CUE sheet, a cdrdao TOC) whole, within a size bound, so that a
// directory or a large binary file given in its place is refused before anything is parsed.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace lumadisc {

// Reads path into text. A path that cannot be opened logs "[CDR] Error: toc not opened (%s).\n";
// a directory or a file over maxBytes is reported through `refuse` with the reason. False on failure.
bool readDescriptionText(const char* path, int64_t maxBytes, std::string& text,
                         const std::function<void(const std::string&)>& refuse);

}  // namespace lumadisc
