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
constexpr size_t kSessionFieldOffset = 376;  // two bytes, read for the check of the size only
constexpr size_t kFirstPositionOffset = 369;
constexpr size_t kRecordSize = 80;
constexpr int kMaxTracks = 99;


}  // namespace

MdsParse mdsParseDescriptor(const uint8_t* bytes, size_t size, TrackTable& table) {
    if (size <= kCountOffset) return MdsParse::kTruncated;
    const int count = bytes[kCountOffset];
    if (count == 0 || count > kMaxTracks) return MdsParse::kUnsupported;
    const size_t lastPosition = kFirstPositionOffset + kRecordSize * static_cast<size_t>(count - 1);
    if (size < kSessionFieldOffset + 2 || size < lastPosition + 3) return MdsParse::kTruncated;
    for (int i = 0; i < count; ++i) {
        const uint8_t* position = bytes + kFirstPositionOffset + kRecordSize * static_cast<size_t>(i);
        table.append(kTrackData, lbaFromMsf(position[0], position[1], position[2]));
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
    TrackTable table;
    table.appendLeadOut(haveDataPath ? ImageFile::sizeOf(dataPath) : -1, kRawSectorSize);
    switch (mdsParseDescriptor(bytes.data(), bytes.size(), table)) {
    case MdsParse::kOk:
        disc.alwaysData = true;
        return describeRowsOrRefuse(path, table, TrackRowsFile{dataPath}, disc);
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
