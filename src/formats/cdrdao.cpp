#include "formats/cdrdao.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include "config/log.h"
#include "formats/companion_file.h"
#include "formats/image_file.h"
#include "support/paths.h"

namespace lumadisc {


namespace {

constexpr size_t kMinimumLength = 12;
constexpr uint8_t kPointLastTrack = 99;
constexpr uint8_t kPointLeadOut = 0xA2;

int32_t rowType(uint8_t adrControl) { return (adrControl & 0x0C) == 0x04 ? kTrackData : kTrackAudio; }

}  // namespace

FullTocParse fullTocParse(const uint8_t* bytes, size_t size, TrackTable& table) {
    if (size < kFullTocHeaderSize) return FullTocParse::kTruncated;
    const size_t length = readBe16(bytes);
    if (length <= kMinimumLength) return FullTocParse::kOk;
    const size_t descriptorBytes = length - 2;
    if (size - kFullTocHeaderSize < descriptorBytes) return FullTocParse::kTruncated;
    const uint8_t* descriptors = bytes + kFullTocHeaderSize;
    TrackTable rows;
    for (size_t k = 0; k < descriptorBytes / kFullTocDescriptorSize; ++k) {
        const uint8_t* d = descriptors + k * kFullTocDescriptorSize;
        const uint8_t point = d[3];
        if (point != kPointLeadOut && point > kPointLastTrack) continue;
        // Random bytes pass the length check; the times they give do not (a disc's times are below
        // 100 minutes, 60 seconds and 75 frames), nor does a track numbered 0.
        if (point == 0 || d[8] > 99 || d[9] >= 60 || d[10] >= 75) return FullTocParse::kNotToc;
        // A lead-out row starts where the session's lead-out does, as a track row starts at its track.
        rows.append(point == kPointLeadOut ? kTrackData : rowType(d[1]), lbaFromMsf(d[8], d[9], d[10]));
    }
    for (int row = 0; row < rows.rows(); ++row) table.append(rows.row(row).type, rows.row(row).start);
    return FullTocParse::kOk;
}

int describeFullToc(const char* path, DiscDescription& disc) {
    ImageFile file;
    if (!file.open(path)) {
        logWrite(kLogPlugin, "[CDR] Error: toc not opened (%s).\n", path);
        return -1;
    }
    std::vector<uint8_t> bytes(kFullTocMaxSize);
    bytes.resize(file.readRecord(0, bytes.size(), bytes.data()));
    TrackTable rows;
    const FullTocParse parsed = fullTocParse(bytes.data(), bytes.size(), rows);
    if (parsed == FullTocParse::kNotToc) {
        logWrite(kLogPlugin, "[CDR] Error: toc file not read (%s): not a table of contents.\n", path);
        return -1;
    }
    if (parsed != FullTocParse::kOk) {
        logWrite(kLogPlugin, "[CDR] Error: toc file truncated (%s).\n", path);
        return -1;
    }
    char dataPath[kPathCapacity];
    if (!companionPathOf(path, ".bin", dataPath) || !file.open(dataPath)) {
        logWrite(kLogPlugin, "Error: data file not opened (%s).\n", dataPath);
        return -1;
    }
    TrackRowsFile data;
    data.path = dataPath;
    data.stride = kFullTocSectorStride;
    data.subForm = SubForm::kInterleaved;
    data.subOffset = kRawSectorSize;
    return describeRowsOrRefuse(path, rows, data, disc);
}

}  // namespace lumadisc
