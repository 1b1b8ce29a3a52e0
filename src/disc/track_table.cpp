#include "disc/track_table.h"

#include <limits>

namespace lumadisc {

void TrackTable::appendLeadOut(int64_t fileSize, int32_t stride) {
    int64_t sectors = fileSize > 0 && stride > 0 ? fileSize / stride : 0;
    if (sectors > std::numeric_limits<int32_t>::max() - kLeadInFrames) sectors = 0;
    append(kTrackData, static_cast<Lba>(sectors));
}

int TrackTable::getDiscType(bool alwaysData) const {
    if (rows() < 2) return -1;
    return alwaysData ? kTrackData : rows_[1].type;
}

int TrackTable::getTN(uint8_t* buffer) const {
    const int tracks = rows() - 1;
    if (tracks < 1) return -1;
    buffer[0] = 1;
    buffer[1] = static_cast<uint8_t>(tracks);
    return 0;
}

int TrackTable::getTD(uint8_t track, uint8_t* buffer) const {
    if (track >= rows()) {
        buffer[0] = buffer[1] = buffer[2] = 0;
        return -1;
    }
    const Msf msf = msfFromLba(rows_[track].start);
    buffer[0] = msf.minute;
    buffer[1] = msf.second;
    buffer[2] = msf.frame;
    return 0;
}

}  // namespace lumadisc
