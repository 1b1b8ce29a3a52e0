#include "formats/alcohol120.h"

#include <cstdio>
#include <vector>

#include "config/log.h"
#include "formats/companion_file.h"
#include "formats/image_file.h"
#include "support/paths.h"

namespace lumadisc {


namespace {

constexpr size_t kCountOffset = 110;
constexpr size_t kSessionFieldOffset = 376;  // track 1's sector size; a descriptor ends after it
constexpr size_t kFirstRecordOffset = 360;
constexpr size_t kPositionInRecord = 9;
constexpr size_t kSectorSizeInRecord = 16;
constexpr size_t kFirstPositionOffset = kFirstRecordOffset + kPositionInRecord;
constexpr uint8_t kModeAudio = 0xA9;
constexpr uint8_t kSubchannelInterleaved = 0x08;
constexpr uint16_t kSectorWithSubSize = 2448;
constexpr size_t kRecordSize = 80;
constexpr int kMaxTracks = 99;


}  // namespace

MdsParse mdsParseDescriptor(const uint8_t* bytes, size_t size, TrackTable& table, MdsDataLayout* layout) {
    if (size <= kCountOffset) return MdsParse::kTruncated;
    const int count = bytes[kCountOffset];
    if (count == 0 || count > kMaxTracks) return MdsParse::kUnsupported;
    const size_t lastPosition = kFirstPositionOffset + kRecordSize * static_cast<size_t>(count - 1);
    if (size < kSessionFieldOffset + 2 || size < lastPosition + 3) return MdsParse::kTruncated;
    for (int i = 0; i < count; ++i) {
        const size_t record = kFirstRecordOffset + kRecordSize * static_cast<size_t>(i);
        const uint8_t* position = bytes + record + kPositionInRecord;
        table.append(bytes[record] == kModeAudio ? kTrackAudio : kTrackData,
                     lbaFromMsf(position[0], position[1], position[2]));
    }
    if (layout) {
        *layout = MdsDataLayout{};
        const size_t sizeField = kFirstRecordOffset + kSectorSizeInRecord;
        if (readLe16(bytes + sizeField) == kSectorWithSubSize) {
            layout->stride = kSectorWithSubSize;
            layout->subchannel = bytes[kFirstRecordOffset + 1] == kSubchannelInterleaved;
        }
    }
    return MdsParse::kOk;
}

int describeMds(const char* path, DiscDescription& disc) {
    ImageFile descriptor;
    if (!descriptor.open(path)) {
        logWrite(kLogPlugin, "[CDR] Error: toc not opened (%s).\n", path);
        return -1;
    }
    std::vector<uint8_t> bytes(kMdsDescriptorSpan);
    bytes.resize(descriptor.readRecord(0, bytes.size(), bytes.data()));
    descriptor.close();

    // Row 0 is the lead-out of the data file; the tracks follow it.
    char dataPath[kPathCapacity];
    const bool haveDataPath = companionPathOf(path, ".mdf", dataPath);
    TrackTable parsed;
    parsed.append(kTrackData, 0);
    MdsDataLayout layout;
    switch (mdsParseDescriptor(bytes.data(), bytes.size(), parsed, &layout)) {
    case MdsParse::kOk: {
        TrackTable table;
        table.appendLeadOut(haveDataPath ? ImageFile::sizeOf(dataPath) : -1, layout.stride);
        for (int row = 1; row < parsed.rows(); ++row) table.append(parsed.row(row).type, parsed.row(row).start);
        TrackRowsFile file;
        file.path = dataPath;
        file.stride = layout.stride;
        if (layout.subchannel) {
            file.subForm = SubForm::kInterleaved;
            file.subOffset = kRawSectorSize;
        }
        disc.alwaysData = true;
        return describeRowsOrRefuse(path, table, file, disc);
    }
    case MdsParse::kUnsupported:
        logWrite(kLogPlugin, "[CDR] Error: unsupported mds format.\n");
        return -1;
    case MdsParse::kTruncated:
        break;
    }
    logWrite(kLogPlugin, "[CDR] Error: mds file truncated (%s).\n", path);
    return -1;
}

}  // namespace lumadisc
