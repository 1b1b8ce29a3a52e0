#include "drive/drive_disc.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "config/log.h"
#include "config/settings.h"

namespace lumadisc {

size_t DriveSource::readAt(int64_t offset, size_t size, uint8_t* out) {
    failed_ = false;
    if (offset < 0 || size == 0) return 0;
    const int64_t frame = offset / kRawSectorWithSubSize;
    const size_t within = static_cast<size_t>(offset % kRawSectorWithSubSize);
    const bool needsSub = within + size > static_cast<size_t>(kRawSectorSize);
    if (frame > INT32_MAX) return 0;
    if (!needsSub && failedFrame_ == frame) {
        failedFrame_ = -1;
        failed_ = true;
        return 0;
    }
    failedFrame_ = -1;
    if (keptFrame_ != frame || (needsSub && !keptWithSub_)) {
        const Lba lba = static_cast<Lba>(frame);
        const int result = needsSub ? cdromReadSectorWithSub(lba, kept_) : cdromReadSector(lba, kept_);
        if (result != 0) {
            keptFrame_ = -1;
            if (needsSub) failedFrame_ = frame;
            failed_ = true;
            return 0;
        }
        keptFrame_ = frame;
        keptWithSub_ = needsSub;
    }
    const size_t got = std::min(size, static_cast<size_t>(kRawSectorWithSubSize) - within);
    std::memcpy(out, kept_ + within, got);
    return got;
}

int describeDrive(const char* path, DiscDescription& disc) {
    cdromOpen(path);
    uint8_t response[kTocResponseSize];
    cdromReadToc(response);
    TrackTable rows;
    cdromTocTable(response, rows);
    if (!cdromIsOpen()) return -1;
    TrackRowsFile data;
    data.source = std::make_shared<DriveSource>(path);
    data.stride = kRawSectorWithSubSize;
    // Subchannel data is read with the sectors when it is asked for and the drive delivers it with the
    // first track's first sector.
    uint8_t probe[kRawSectorWithSubSize];
    if (g_settings.readsubchannels && rows.rows() > 1) {
        if (cdromReadSectorWithSub(rows.row(1).start, probe) == 0) {
            data.subForm = SubForm::kInterleaved;
            data.subOffset = kRawSectorSize;
        } else {
            logWrite(kLogPlugin, "[CDR] Warning: the drive delivers no subchannel data (%s).\n", path);
        }
    }
    int64_t missing = 0;
    const std::string reason = describeTrackRows(rows, data, disc.extents, &missing);
    if (!reason.empty()) {
        logWrite(kLogPlugin, "[CDR] Error: toc not usable (%s): %s.\n", path, reason.c_str());
        disc.extents.clear();  // closes the drive with its source
        return -1;
    }
    return 0;
}

}  // namespace lumadisc
