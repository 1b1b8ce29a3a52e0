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
    warnedEnd_ = false;
    return 0;
}

int CCdSectorFileData::read(Lba lba, uint8_t* sector) {
    const size_t got = file_.readAt(static_cast<int64_t>(lba) * stride_, kRawSectorSize, sector);
    if (file_.readFailed()) return -1;
    if (got < static_cast<size_t>(kRawSectorSize) && lba >= 0 && !warnedEnd_) {
        warnedEnd_ = true;
        logWrite(kLogPlugin, "[CDR] Warning: sector %i lies past the end of the data file (%s).\n", lba, file_.path());
    }
    return 0;
}

}  // namespace lumadisc
