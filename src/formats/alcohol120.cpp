#include "formats/alcohol120.h"

#include <cstdio>
#include <vector>

#include "config/log.h"
#include "support/paths.h"

namespace lumadisc {

CCdAlcohol120Toc g_alcohol120Toc;
CCdAlcohol120Data g_alcohol120Data;
CCdAlcohol120Sub g_alcohol120Sub;

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

int CCdAlcohol120Toc::open(const char* path) {
    table_.clear();
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
        table_ = table;
        return 0;
    case MdsParse::kUnsupported:
        logWrite(kLogPlugin, "[CDR] Error: unsupported mds format.\n");
        return -1;
    case MdsParse::kTruncated:
        break;
    }
    logWrite(kLogPlugin, "[CDR] Error: mds file truncated (%s).\n", path);
    return -1;
}

int CCdAlcohol120Sub::open(const char* path) {
    char dataPath[kPathCapacity];
    if (!companionPathOf(path, ".mdf", dataPath) || !file_.open(dataPath)) {
        logWrite(kLogPlugin, "[CDR] Error: sub file not opened (%s).\n", dataPath);
        return -1;
    }
    return 0;
}

}  // namespace lumadisc
