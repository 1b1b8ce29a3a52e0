#include "formats/cue_layout.h"

#include <algorithm>
#include <limits>

namespace lumadisc {

namespace {

struct Point {
    size_t track;
    const CueIndex* index;
    int64_t offset = 0;   // byte offset in its file
    int32_t count = 0;    // sectors up to the next point
};

SectorForm fileForm(CueTrackMode mode, CueFileType type) {
    if (type == CueFileType::kSound) return SectorForm::kDecodedAudio;
    switch (mode) {
    case CueTrackMode::kAudio:
    case CueTrackMode::kCdg: return type == CueFileType::kMotorola ? SectorForm::kAudioSwapped : SectorForm::kAudio;
    case CueTrackMode::kMode1User: return SectorForm::kMode1User;
    case CueTrackMode::kMode2User:
    case CueTrackMode::kCdiUser: return SectorForm::kMode2User;
    default: return SectorForm::kRaw;
    }
}

SectorForm gapForm(CueTrackMode mode) {
    if (cueModeIsAudio(mode)) return SectorForm::kSilence;
    return mode == CueTrackMode::kMode1Raw || mode == CueTrackMode::kMode1User ? SectorForm::kEmptyMode1
                                                                               : SectorForm::kEmptyMode2;
}

int32_t strideOf(CueTrackMode mode, CueFileType type) {
    return type == CueFileType::kSound ? kRawSectorSize : cueModeStride(mode);
}

}  // namespace

std::string cueLayout(const CueSheet& sheet, const std::vector<CueSource>& sources, ExtentTable& table,
                      std::vector<int64_t>* missingSectors) {
    table.clear();
    std::vector<int64_t> missing(sheet.files.size(), 0);
    std::vector<int32_t> fileIds(sheet.files.size(), -1);

    // Every index in sheet order, with its byte offset and its length in sectors.
    std::vector<Point> points;
    for (size_t t = 0; t < sheet.tracks.size(); ++t) {
        for (const CueIndex& index : sheet.tracks[t].indexes) points.push_back({t, &index});
    }
    // A first track whose first index starts after its file does (hidden audio ahead of track 1, a
    // first INDEX 01 at 00:09:08): the file's sectors before it are the track's index 0, so the disc
    // starts with the file and the track where the sheet says.
    CueIndex leadingGap;
    if (!points.empty() && points[0].index->position > 0 && points[0].index->number > 0) {
        leadingGap = CueIndex{0, points[0].index->file, 0};
        points.insert(points.begin(), Point{points[0].track, &leadingGap});
    }
    for (size_t k = 0; k < points.size(); ++k) {
        Point& p = points[k];
        const CueTrack& track = sheet.tracks[p.track];
        const size_t file = static_cast<size_t>(p.index->file);
        if (file >= sources.size()) return "a FILE without its source";
        const CueFileType type = sheet.files[file].type;
        if (type == CueFileType::kSound && !cueModeIsAudio(track.mode))
            return "track " + std::to_string(p.track + 1) + " is a data track in a sound file";
        const int32_t stride = strideOf(track.mode, type);
        if (k > 0 && points[k - 1].index->file == p.index->file) {
            const Point& before = points[k - 1];
            if (p.index->position < before.index->position) return "INDEX positions go back within a file";
            const int32_t beforeStride = strideOf(sheet.tracks[before.track].mode, type);
            p.offset = before.offset + static_cast<int64_t>(p.index->position - before.index->position) * beforeStride;
        } else {
            p.offset = static_cast<int64_t>(p.index->position) * stride;
        }
        if (p.offset > std::numeric_limits<int32_t>::max()) return "a sector lies beyond 2 GiB into its file";
        const bool lastInFile = k + 1 == points.size() || points[k + 1].index->file != p.index->file;
        if (!lastInFile) {
            p.count = points[k + 1].index->position - p.index->position;
            continue;
        }
        const int64_t available = sources[file].bytes - p.offset;
        if (available < stride) {
            // The sheet places a sector where the file has none: it keeps one sector and says so.
            missing[file] = (stride - available + stride - 1) / stride;
            p.count = 1;
        } else {
            p.count = static_cast<int32_t>(std::min<int64_t>(available / stride, kLastDiscSector + 1));
        }
    }

    Lba lba = 0;
    Lba trackStart = 0;
    for (size_t k = 0; k < points.size(); ++k) {
        const Point& p = points[k];
        const CueTrack& track = sheet.tracks[p.track];
        const bool firstOfTrack = k == 0 || points[k - 1].track != p.track;
        const bool lastOfTrack = k + 1 == points.size() || points[k + 1].track != p.track;
        const uint8_t trackNumber = static_cast<uint8_t>(p.track + 1);
        const bool audio = cueModeIsAudio(track.mode);
        Extent e;
        e.track = trackNumber;
        e.type = audio ? kTrackAudio : kTrackData;
        e.control = track.flags;
        if (firstOfTrack) {
            trackStart = lba + track.pregap;
            for (size_t j = k; j < points.size() && points[j].track == p.track && points[j].index->number == 0; ++j)
                trackStart += points[j].count;
            e.trackStart = trackStart;
            e.start = lba;
            e.count = track.pregap;
            e.form = gapForm(track.mode);
            e.index = 0;
            table.append(e);
            lba += track.pregap;
        }
        e.trackStart = trackStart;
        const size_t file = static_cast<size_t>(p.index->file);
        if (fileIds[file] < 0) fileIds[file] = table.addFile(sources[file].path, sheet.files[file].type == CueFileType::kSound);
        e.start = lba;
        e.count = p.count;
        e.file = fileIds[file];
        e.offset = p.offset;
        e.stride = strideOf(track.mode, sheet.files[file].type);
        e.form = fileForm(track.mode, sheet.files[file].type);
        e.index = static_cast<uint8_t>(p.index->number);
        table.append(e);
        lba += p.count;
        if (lastOfTrack && track.postgap > 0) {
            Extent gap = e;
            gap.file = -1;
            gap.offset = 0;
            gap.stride = 0;
            gap.start = lba;
            gap.count = track.postgap;
            gap.form = gapForm(track.mode);
            table.append(gap);
            lba += track.postgap;
        }
        if (lba > kLastDiscSector + 1) return "the tracks reach beyond 99:59:74";
    }
    TrackTable rows;
    table.buildTrackTable(rows);
    if (static_cast<size_t>(rows.rows() - 1) != sheet.tracks.size()) return "a track without sectors";
    if (missingSectors) *missingSectors = std::move(missing);
    return {};
}

}  // namespace lumadisc
