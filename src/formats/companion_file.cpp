#include "formats/companion_file.h"

#include <cstdio>

#include "config/log.h"
#include "support/paths.h"

namespace lumadisc {

bool companionPathOf(const char* imagePath, const char* extension, char* path) {
    std::snprintf(path, kPathCapacity, "%s", imagePath);
    return replaceExtension(path, kPathCapacity, extension) == 0;
}

int CCdSectorFileData::open(const char* imagePath) {
    char path[kPathCapacity];
    if (!companionPathOf(imagePath, extension_, path) || !file_.open(path)) {
        logWrite(kLogPlugin, failureFormat_, path);
        return -1;
    }
    return 0;
}

int CCdSectorFileData::read(Lba lba, uint8_t* sector) {
    file_.readAt(static_cast<int64_t>(lba) * stride_, kRawSectorSize, sector);
    return 0;
}

}  // namespace lumadisc
