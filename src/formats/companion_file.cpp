#include "formats/companion_file.h"

#include <cstdio>

#include "support/paths.h"

namespace lumadisc {

bool companionPathOf(const char* imagePath, const char* extension, char* path) {
    std::snprintf(path, kPathCapacity, "%s", imagePath);
    return replaceExtension(path, kPathCapacity, extension) == 0;
}

}  // namespace lumadisc
