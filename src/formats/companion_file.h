// Companion files of the disc: the disc path with its extension replaced (".bin",
// ".img", ".sub", ".mdf", ".ppf").
#pragma once

#include <cstdint>

namespace lumadisc {

// Writes the companion path of imagePath into path (kPathCapacity bytes); false when it would not
// fit, path then holding imagePath as it is.
bool companionPathOf(const char* imagePath, const char* extension, char* path);

}  // namespace lumadisc
