#include "disc/disc_description.h"

#include <tuple>

namespace lumadisc {

std::string describeTrackRows(const TrackTable& rows, const TrackRowsFile& file, ExtentTable& extents,
                              int64_t* missingSectors) {
    *missingSectors = 0;
    if (rows.rows() < 2) return "";
    const Lba leadOut = rows.row(0).start;
    const int tracks = rows.rows() - 1;
    if (tracks > 99) return std::to_string(tracks) + " tracks, more than a disc holds (99)";
    const auto gapOf = [&](int track) {
        const size_t at = static_cast<size_t>(track - 1);
        return at < file.gapStarts.size() ? file.gapStarts[at] : rows.row(track).start;
    };
    for (int track = 1; track <= tracks; ++track) {
        const Lba start = rows.row(track).start;
        if (gapOf(track) > start || (track > 1 && gapOf(track) <= rows.row(track - 1).start)) {
            return "track " + std::to_string(track) + "'s gap does not lie between track " + std::to_string(track - 1) +
                   " and its start";
        }
        if (track < tracks && rows.row(track + 1).start <= start) {
            return "track " + std::to_string(track + 1) + " does not start after track " + std::to_string(track);
        }
    }
    if (leadOut <= rows.row(tracks).start) {
        return "the disc ends (sector " + std::to_string(leadOut) + ") before track " + std::to_string(tracks) +
               " starts";
    }
    const int32_t fileIndex = file.source ? extents.addSource(file.source) : extents.addFile(file.path, false);
    for (int track = 1; track <= tracks; ++track) {
        const TrackEntry& row = rows.row(track);
        const Lba end = track < tracks ? gapOf(track + 1) : leadOut;
        const bool audio = row.type == kTrackAudio;
        Extent e;
        e.file = fileIndex;
        e.stride = file.stride;
        e.form = audio ? SectorForm::kAudio : SectorForm::kRaw;
        e.track = static_cast<uint8_t>(track);
        e.type = row.type;
        e.control = audio ? 0 : kControlData;
        e.trackStart = row.start;
        e.subForm = file.subForm;
        e.subOffset = file.subOffset;
        for (const auto& [from, to, index] : {std::tuple{gapOf(track), row.start, 0}, std::tuple{row.start, end, 1}}) {
            e.start = from;
            e.count = to - from;
            e.offset = static_cast<int64_t>(from) * file.stride;
            e.index = static_cast<uint8_t>(index);
            extents.append(e);
        }
    }
    const int64_t held = file.bytes >= 0 ? file.bytes / file.stride : leadOut;
    if (held < leadOut) *missingSectors = leadOut - held;
    return "";
}

}  // namespace lumadisc
