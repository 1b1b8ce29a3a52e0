// Shared by the fuzz targets: the questions a host can ask of a track table, with aborts on answers
// that break the table's rules, the seed writer behind `--write-seeds DIR`, and a scratch directory.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "disc/extent_table.h"
#include "disc/track_table.h"
#include "tools/fixtures/image_builder.h"

namespace lumadisc::fuzz {

inline void checkTable(const TrackTable& table, bool alwaysData) {
    const int rows = table.rows();
    const int type = table.getDiscType(alwaysData);
    if (rows < 2 ? type != -1 : type != (alwaysData ? kTrackData : table.row(1).type)) std::abort();
    uint8_t tn[2] = {0xEE, 0xEE};
    const int tnResult = table.getTN(tn);
    if ((tnResult == 0) != (rows >= 2)) std::abort();
    if (tnResult != 0 && (tn[0] != 0xEE || tn[1] != 0xEE)) std::abort();
    for (int track = 0; track <= 255; ++track) {
        uint8_t td[3] = {0xEE, 0xEE, 0xEE};
        const int result = table.getTD(static_cast<uint8_t>(track), td);
        if ((result == 0) != (track < rows)) std::abort();
        if (result != 0 && (td[0] | td[1] | td[2]) != 0) std::abort();
    }
}

// An extent table's rules: extents in disc order without gaps or overlaps, within a CD's length,
// file-backed ones pointing at a known file with a stride; its track table and its generated Q
// subchannel (valid CRC, the right track) follow from it.
inline void checkExtents(const ExtentTable& extents) {
    Lba next = 0;
    for (const Extent& e : extents.extents()) {
        if (e.start != next || e.count <= 0) std::abort();
        if (sectorFormGenerated(e.form) != (e.file < 0)) std::abort();
        if (e.file >= extents.fileCount() || (e.file >= 0 && (e.stride <= 0 || e.offset < 0))) std::abort();
        next = e.start + e.count;
    }
    if (next > 100 * kFramesPerMinute - kLeadInFrames) std::abort();
    TrackTable table;
    extents.buildTrackTable(table);
    checkTable(table, false);
    for (const Lba lba : {-151, -1, 0, 1, next / 2, next - 1, next, next + 1000}) {
        uint8_t block[kSubchannelSize];
        extents.fillSubchannel(lba, block);
        if (!qCrcValid(block + kSubchannelQOffset)) std::abort();
        const Extent* e = extents.find(lba);
        if (e && block[kSubchannelQOffset + 1] != bcdFromBinary(e->track)) std::abort();
    }
}

// Track layouts the description fuzz targets start from.
inline std::vector<fixtures::TrackLayout> seedLayouts() {
    fixtures::ImageBuilder single;
    single.addDataTrack(300);
    fixtures::ImageBuilder mixed;
    mixed.addDataTrack(300).addAudioTrack(200, {}, 150).addAudioTrack(100);
    fixtures::ImageBuilder audioFirst;
    audioFirst.addAudioTrack(20).addDataTrack(30);
    fixtures::ImageBuilder many;
    many.addDataTrack(4600);
    for (int i = 0; i < 98; ++i) many.addAudioTrack(40 + i, {}, i % 2 ? 75 : 0);
    return {single.layout(), mixed.layout(), audioFirst.layout(), many.layout()};
}

using Seed = std::pair<std::string, std::vector<uint8_t>>;

inline bool writeSeeds(const char* directory, const std::vector<Seed>& seeds) {
    mkdir(directory, 0777);
    for (const auto& [name, bytes] : seeds) {
        const std::string path = std::string(directory) + "/" + name;
        FILE* file = std::fopen(path.c_str(), "wb");
        if (!file) return false;
        const bool ok = bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
        if (std::fclose(file) != 0 || !ok) return false;
    }
    std::printf("%zu seeds written to %s\n", seeds.size(), directory);
    return true;
}

// Runs writeSeeds and exits when the arguments hold `--write-seeds DIR`.
template <typename MakeSeeds>
void handleWriteSeeds(int argc, char** argv, MakeSeeds makeSeeds) {
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], "--write-seeds") == 0) std::exit(writeSeeds(argv[i + 1], makeSeeds()) ? 0 : 1);
    }
}

// A fresh directory under $TMPDIR (or /tmp), removed at exit; the process works in it when `enter`.
inline std::string scratchDirectory(const char* prefix, bool enter = false) {
    static std::string path;
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp == '/' ? tmp : "/tmp") + "/" + prefix + "-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr || (enter && chdir(pattern.c_str()) != 0)) std::abort();
    path = pattern;
    std::atexit([] {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    });
    return path;
}

}  // namespace lumadisc::fuzz
