#include "formats/extent_disc.h"

#include "config/log.h"
#include "formats/image_file.h"

namespace lumadisc {

CCdExtentToc g_extentToc;
CCdExtentData g_extentData(g_extentToc.extents());
CCdExtentSub g_extentSub(g_extentToc.extents(), g_extentData);

std::string describeTrackRows(const TrackTable& rows, const TrackRowsFile& file, ExtentTable& extents) {
    if (rows.rows() < 2) return "";
    const Lba leadOut = rows.row(0).start;
    for (int track = 1; track < rows.rows(); ++track) {
        const Lba next = track + 1 < rows.rows() ? rows.row(track + 1).start : leadOut;
        if (next <= rows.row(track).start) {
            return track + 1 < rows.rows()
                       ? "track " + std::to_string(track + 1) + " does not start after track " + std::to_string(track)
                       : "the disc ends (sector " + std::to_string(leadOut) + ") before track " + std::to_string(track) +
                             " starts";
        }
    }
    const int32_t fileIndex = extents.addFile(file.path, false);
    for (int track = 1; track < rows.rows(); ++track) {
        const TrackEntry& row = rows.row(track);
        const Lba next = track + 1 < rows.rows() ? rows.row(track + 1).start : leadOut;
        const bool audio = row.type == kTrackAudio;
        Extent e;
        e.start = row.start;
        e.count = next - row.start;
        e.file = fileIndex;
        e.offset = static_cast<int64_t>(row.start) * file.stride;
        e.stride = file.stride;
        e.form = audio ? SectorForm::kAudio : SectorForm::kRaw;
        e.track = static_cast<uint8_t>(track);
        e.index = 1;
        e.type = row.type;
        e.control = audio ? 0 : kControlData;
        e.trackStart = row.start;
        e.subForm = file.subForm;
        e.subOffset = file.subOffset;
        extents.append(e);
    }
    const int64_t size = ImageFile::sizeOf(file.path.c_str());
    const int64_t held = size > 0 ? size / file.stride : 0;
    if (size >= 0 && held < leadOut) {
        logWrite(kLogPlugin, "[CDR] Warning: data file %s is %lld sectors shorter than the description says.\n",
                 file.path.c_str(), static_cast<long long>(leadOut - held));
    }
    return "";
}

int describeRowsOrRefuse(const char* path, const TrackTable& rows, const TrackRowsFile& file, DiscDescription& disc) {
    if (ImageFile::sizeOf(file.path.c_str()) < 0) {
        logWrite(kLogPlugin, "[CDR] Error: data file not opened (%s).\n", file.path.c_str());
        return -1;
    }
    const std::string reason = describeTrackRows(rows, file, disc.extents);
    if (reason.empty()) return 0;
    logWrite(kLogPlugin, "[CDR] Error: toc file not read (%s): %s.\n", path, reason.c_str());
    return -1;
}

int CCdExtentToc::open(const char* path) {
    close();
    if (describe_ == nullptr || describe_(path, disc_) != 0) {
        close();
        return -1;
    }
    disc_.extents.buildTrackTable(table_);
    return 0;
}

void CCdExtentToc::close() {
    disc_.extents.clear();
    disc_.alwaysData = false;
    table_.clear();
}

}  // namespace lumadisc
