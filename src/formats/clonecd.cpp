#include "formats/clonecd.h"

#include <cstdio>

#include "config/log.h"
#include "config/settings.h"
#include "support/paths.h"

namespace lumadisc {

CCdClonecdSub g_clonecdSub;

int CCdClonecdSub::open() {
    char subPath[kPathCapacity];
    std::snprintf(subPath, sizeof subPath, "%s", g_settings.current);
    if (replaceExtension(subPath, sizeof subPath, ".sub") != 0 || !file_.open(subPath)) {
        logWrite(0, "[CDR] Warning: sub file not opened (%s).\n", subPath);
        return -1;
    }
    return 0;
}

int CCdClonecdSub::read(Lba lba, uint8_t* block) {
    file_.readRecord(lba, kSubchannelSize, block);
    return 0;
}

}  // namespace lumadisc
