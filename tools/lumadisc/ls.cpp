// lumadisc ls: the ISO 9660 file system of the disc's first data track, read sector by sector through
// the plugin's classic exports (CDRreadTrack, CDRgetBuffer), every directory and file with its extent
// and size. Damaged or hostile file systems are walked within fixed bounds.
#include <cstdio>
#include <cstring>
#include <string>

#include "tools/lumadisc/command_table.h"
#include "tools/lumadisc/commands.h"
#include "tools/lumadisc/iso9660_walker.h"

namespace lumadisc::tool {

namespace {

constexpr int64_t kLastReadableLba = 100 * kFramesPerMinute - kLeadInFrames - 1;  // 99:59:74

// The 2048 user bytes of a volume block at `trackStart` + block (Mode 1 or Mode 2 Form 1 sectors).
bool readUserData(host::ClassicHost& host, Lba trackStart, uint32_t block, uint8_t* out, std::string* error) {
    const int64_t lba = static_cast<int64_t>(trackStart) + block;
    if (lba > kLastReadableLba) {
        *error = "block " + std::to_string(block) + " lies beyond the disc";
        return false;
    }
    const host::SectorRead read = host.readSector(static_cast<Lba>(lba));
    if (read.result < 0) {
        *error = "the plugin could not read LBA " + std::to_string(lba);
        return false;
    }
    if (read.header[3] == 1) {
        std::memcpy(out, read.subheader, sizeof read.subheader);
        std::memcpy(out + sizeof read.subheader, read.data, kIsoBlockSize - sizeof read.subheader);
    } else if (read.header[3] == 2) {
        std::memcpy(out, read.data, kIsoBlockSize);
    } else {
        *error = "LBA " + std::to_string(lba) + " is no data sector (mode byte " + std::to_string(read.header[3]) + ")";
        return false;
    }
    return true;
}

}  // namespace

int runLs(const CommonOptions& options, const Arguments& arguments) {
    if (arguments.size() > 1) {
        return usageError("ls");
    }
    Session session(options);
    if (const int code = session.start(arguments.empty() ? std::string() : arguments[0]); code != kExitOk)
        return code;
    host::ClassicHost& host = session.classic();
    const auto tracks = host.tracks();
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
    const Lba trackStart = data->lba;
    IsoWalker walker([&](uint32_t block, uint8_t* out, std::string* error) {
        return readUserData(host, trackStart, block, out, error);
    });
    IsoVolume volume;
    if (!walker.findVolume(&volume)) {
        std::fprintf(stderr, "lumadisc: %s: %s\n", session.disc().c_str(), walker.error().c_str());
        return kExitFailure;
    }
    std::printf("disc:      %s\n", session.disc().c_str());
    std::printf("track:     %d (data, LBA %d); extents count from the track's start\n", data->number, data->lba);
    std::printf("volume:    %s\n", volume.volume.c_str());
    std::printf("system:    %s\n", volume.system.c_str());
    std::printf("blocks:    %u\n\n", volume.blocks);
    std::printf("%-5s %-10s %-11s %s\n", "type", "extent", "size", "path");
    std::printf("%-5s %-10u %-11u %s\n", "dir", volume.root.extent, volume.root.size, "/");
    const bool complete = walker.walk("/", volume.root, [](const std::string& path, const IsoEntry& entry) {
        std::printf("%-5s %-10u %-11u %s\n", entry.directory ? "dir" : "file", entry.extent, entry.size, path.c_str());
    });
    return complete ? kExitOk : kExitFailure;
}

}  // namespace lumadisc::tool
