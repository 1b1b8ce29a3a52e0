// lumadisc ls: the ISO 9660 file system of the disc's first data track, read sector by sector through
// the plugin's classic exports (CDRreadTrack, CDRgetBuffer), every directory and file with its extent
// and size. Damaged or hostile file systems are walked within fixed bounds.
#include <cstdio>
#include <cstring>
#include <set>
#include <string>

#include "tools/lumadisc/commands.h"

namespace lumadisc::tool {

namespace {

constexpr int kBlockSize = 2048;
constexpr uint32_t kFirstDescriptor = 16;
constexpr uint32_t kMaxDescriptors = 32;
constexpr uint32_t kMaxDirectoryBlocks = 1024;
constexpr int kMaxDepth = 16;
constexpr int64_t kLastReadableLba = 100 * kFramesPerMinute - kLeadInFrames - 1;  // 99:59:74
constexpr int kRecordMinimum = 34;

uint32_t le32(const uint8_t* p) { return p[0] | p[1] << 8 | p[2] << 16 | static_cast<uint32_t>(p[3]) << 24; }

// An identifier without its trailing blanks, other bytes than printable ASCII shown as '?'.
std::string printable(const uint8_t* bytes, size_t size) {
    std::string text;
    for (size_t i = 0; i < size; ++i) text += bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i]) : '?';
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

class VolumeWalker {
public:
    VolumeWalker(host::ClassicHost& host, Lba trackStart) : host_(host), trackStart_(trackStart) {}

    // The 2048 user bytes of logical block `block` of the volume (Mode 1 or Mode 2 Form 1 sectors).
    bool readBlock(uint32_t block, uint8_t* out) {
        const int64_t lba = static_cast<int64_t>(trackStart_) + block;
        if (lba > kLastReadableLba) return fail("block " + std::to_string(block) + " lies beyond the disc");
        const host::SectorRead read = host_.readSector(static_cast<Lba>(lba));
        if (read.result < 0) return fail("the plugin could not read LBA " + std::to_string(lba));
        if (read.header[3] == 1) {
            std::memcpy(out, read.subheader, sizeof read.subheader);
            std::memcpy(out + sizeof read.subheader, read.data, kBlockSize - sizeof read.subheader);
        } else if (read.header[3] == 2) {
            std::memcpy(out, read.data, kBlockSize);
        } else {
            return fail("LBA " + std::to_string(lba) + " is no data sector (mode byte " +
                        std::to_string(read.header[3]) + ")");
        }
        return true;
    }

    // Prints the directory's records, descending into subdirectories; false when something was skipped.
    bool list(const std::string& path, uint32_t extent, uint32_t size, int depth) {
        visited_.insert(extent);
        bool complete = true;
        uint32_t blocks = size / kBlockSize + (size % kBlockSize ? 1 : 0);
        if (blocks > kMaxDirectoryBlocks) {
            warn(path + ": directory of " + std::to_string(blocks) + " blocks, only the first " +
                 std::to_string(kMaxDirectoryBlocks) + " are listed");
            blocks = kMaxDirectoryBlocks;
            complete = false;
        }
        for (uint32_t b = 0; b < blocks; ++b) {
            uint8_t block[kBlockSize];
            if (extent + static_cast<uint64_t>(b) > UINT32_MAX || !readBlock(extent + b, block)) {
                warn(path + ": " + error_);
                return false;
            }
            complete = listBlock(path, extent + b, block, depth) && complete;
        }
        return complete;
    }

    const std::string& error() const { return error_; }

private:
    bool fail(const std::string& message) {
        error_ = message;
        return false;
    }
    void warn(const std::string& message) { std::fprintf(stderr, "lumadisc: %s\n", message.c_str()); }

    bool listBlock(const std::string& path, uint32_t blockNumber, const uint8_t* block, int depth) {
        bool complete = true;
        for (int offset = 0; offset < kBlockSize;) {
            const uint8_t* record = block + offset;
            const int length = record[0];
            if (length == 0) break;  // the rest of the block is padding
            const int nameLength = length >= kRecordMinimum ? record[32] : 0;
            if (length < kRecordMinimum || offset + length > kBlockSize || 33 + nameLength > length) {
                warn(path + ": damaged directory record at byte " + std::to_string(offset) + " of block " +
                     std::to_string(blockNumber));
                return false;
            }
            offset += length;
            if (nameLength == 1 && record[33] <= 1) continue;  // "." and ".."
            const uint32_t extent = le32(record + 2);
            const uint32_t size = le32(record + 10);
            const bool directory = (record[25] & 0x02) != 0;
            const std::string name = printable(record + 33, static_cast<size_t>(nameLength));
            const std::string entryPath = path + name + (directory ? "/" : "");
            std::printf("%-5s %-10u %-11u %s\n", directory ? "dir" : "file", extent, size, entryPath.c_str());
            if (!directory) continue;
            if (visited_.count(extent) != 0) {
                warn(entryPath + ": extent " + std::to_string(extent) + " is listed already, not followed");
                complete = false;
            } else if (depth + 1 > kMaxDepth) {
                warn(entryPath + ": deeper than " + std::to_string(kMaxDepth) + " levels, not followed");
                complete = false;
            } else {
                complete = list(entryPath, extent, size, depth + 1) && complete;
            }
        }
        return complete;
    }

    host::ClassicHost& host_;
    Lba trackStart_;
    std::set<uint32_t> visited_;
    std::string error_;
};

// Finds the primary volume descriptor from block 16 on; false (with *error) when the track has none.
bool findPrimaryDescriptor(VolumeWalker& walker, uint8_t* descriptor, std::string* error) {
    for (uint32_t block = kFirstDescriptor; block < kFirstDescriptor + kMaxDescriptors; ++block) {
        if (!walker.readBlock(block, descriptor)) {
            *error = walker.error();
            return false;
        }
        if (std::memcmp(descriptor + 1, "CD001", 5) != 0) break;
        if (descriptor[0] == 1) return true;
        if (descriptor[0] == 255) break;  // the set terminator
    }
    *error = "no ISO 9660 volume on the first data track (no primary volume descriptor from block 16 on)";
    return false;
}

}  // namespace

int runLs(const CommonOptions& options, const Arguments& arguments) {
    if (arguments.size() > 1) {
        std::fprintf(stderr, "lumadisc: usage: lumadisc ls [DISC]\n");
        return kExitUsage;
    }
    Session session;
    if (const int code = session.start(options, arguments.empty() ? std::string() : arguments[0]); code != kExitOk)
        return code;
    const auto tracks = session.host().tracks();
    const host::TrackInfo* data = nullptr;
    for (const auto& track : tracks) {
        if (!track.audio) {
            data = &track;
            break;
        }
    }
    if (!data) {
        std::fprintf(stderr, "lumadisc: %s has no data track (%zu tracks)\n", session.disc().c_str(), tracks.size());
        return kExitFailure;
    }
    VolumeWalker walker(session.host(), data->lba);
    uint8_t descriptor[kBlockSize];
    std::string error;
    if (!findPrimaryDescriptor(walker, descriptor, &error)) {
        std::fprintf(stderr, "lumadisc: %s: %s\n", session.disc().c_str(), error.c_str());
        return kExitFailure;
    }
    const uint32_t rootExtent = le32(descriptor + 156 + 2);
    const uint32_t rootSize = le32(descriptor + 156 + 10);
    std::printf("disc:      %s\n", session.disc().c_str());
    std::printf("track:     %d (data, LBA %d); extents count from the track's start\n", data->number, data->lba);
    std::printf("volume:    %s\n", printable(descriptor + 40, 32).c_str());
    std::printf("system:    %s\n", printable(descriptor + 8, 32).c_str());
    std::printf("blocks:    %u\n\n", le32(descriptor + 80));
    std::printf("%-5s %-10s %-11s %s\n", "type", "extent", "size", "path");
    std::printf("%-5s %-10u %-11u %s\n", "dir", rootExtent, rootSize, "/");
    return walker.list("/", rootExtent, rootSize, 0) ? kExitOk : kExitFailure;
}

}  // namespace lumadisc::tool
