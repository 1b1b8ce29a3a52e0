#include "formats/chd.h"

#include <string>

#include "config/log.h"
#include "config/settings.h"

namespace lumadisc {

ChdImage g_chdImage;
CCdChdToc g_chdToc;
CCdChdData g_chdData;
CCdChdSub g_chdSub;

int CCdChdToc::open(const char* path) {
    table_.clear();
    std::string reason;
    if (!g_chdImage.open(path, &reason)) {
        table_.append(kTrackData, 0);
        logWrite(kLogPlugin, "[CDR] Error: chd image not opened (%s): %s.\n", path, reason.c_str());
        return -1;
    }
    table_.append(kTrackData, g_chdImage.leadOut());
    for (const ChdTrack& track : g_chdImage.tracks()) {
        table_.append(chdTrackIsAudio(track.type) ? kTrackAudio : kTrackData, track.start);
    }
    return 0;
}

int CCdChdData::open(const char* path) {
    if (g_chdImage.isOpen()) return 0;
    std::string reason;
    if (!g_chdImage.open(path, &reason)) {
        logWrite(kLogPlugin, "[CDR] Error: chd image not opened (%s): %s.\n", path, reason.c_str());
        return -1;
    }
    return 0;
}

void CCdChdData::close() { g_chdImage.close(); }

}  // namespace lumadisc
