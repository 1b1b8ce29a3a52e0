// Feeds arbitrary bytes as a ".ppf" file beside an image, loads it and applies it to sectors near
// the start of the disc, at negative positions and at the far ends of the Lba range, then releases it.
// Each apply works on a sector with guard bytes around it, which must stay untouched.
//
// `fuzz_ppf --write-seeds DIR` writes a small seed corpus of generated patch files into DIR and exits.
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "formats/ppf_patch.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/ppf_patch.h"

namespace {

using lumadisc::fixtures::PpfPatchBuilder;

constexpr int64_t kSector = lumadisc::kRawSectorSize;

std::vector<std::vector<uint8_t>> seedPatches() {
    std::vector<std::vector<uint8_t>> seeds;
    const auto records = [](PpfPatchBuilder builder) {
        builder.add(16 * kSector + 24, "\x01\x02\x03\x04").add(10 * kSector + 2340, std::string(30, 'x'));
        builder.add(-2, "ab").add(INT32_MAX, "cd");
        return builder;
    };
    seeds.push_back(records(PpfPatchBuilder(1)).bytes());
    seeds.push_back(records(PpfPatchBuilder(2)).bytes());
    seeds.push_back(records(PpfPatchBuilder(2)).description("a described patch").bytes());
    seeds.push_back(records(PpfPatchBuilder(3)).add(int64_t{1} << 40, "far").bytes());
    seeds.push_back(records(PpfPatchBuilder(3)).blockCheck(1).description("described").bytes());
    seeds.push_back(records(PpfPatchBuilder(2)).description("x").descriptionLengthField(-100).bytes());
    return seeds;
}

bool writeSeeds(const char* directory) {
    mkdir(directory, 0777);
    const auto seeds = seedPatches();
    for (size_t i = 0; i < seeds.size(); ++i) {
        const std::string path = std::string(directory) + "/patch" + std::to_string(i) + ".ppf";
        if (!lumadisc::fixtures::writeBytes(path, seeds[i], nullptr)) return false;
    }
    std::printf("%zu seeds written to %s\n", seeds.size(), directory);
    return true;
}

std::string g_directory;
std::string g_image;
std::string g_patch;

void removeScratch() {
    unlink(g_patch.c_str());
    rmdir(g_directory.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    for (int i = 1; i + 1 < *argc; ++i) {
        if (std::strcmp((*argv)[i], "--write-seeds") == 0) std::exit(writeSeeds((*argv)[i + 1]) ? 0 : 1);
    }
    char pattern[] = "/tmp/lumadisc-fuzz-ppf-XXXXXX";
    if (mkdtemp(pattern) == nullptr) std::abort();
    g_directory = pattern;
    g_image = g_directory + "/disc.cue";
    g_patch = g_directory + "/disc.ppf";
    std::atexit(removeScratch);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (!lumadisc::fixtures::writeBytes(g_patch, {data, size}, nullptr)) std::abort();
    static lumadisc::CCdPpfPatch patch;
    const int result = patch.load(g_image.c_str());
    if (result != 0 && result != -1) std::abort();
    if (result == 0 && (patch.version() < 1 || patch.version() > 3 || patch.descriptionLength() < 0)) std::abort();
    constexpr int kGuard = 64;
    static uint8_t area[kGuard + lumadisc::kRawSectorSize + kGuard];
    for (const lumadisc::Lba lba : {0, 1, 10, 11, 16, -1, -2, -913046, 913045, INT32_MIN, INT32_MAX}) {
        std::memset(area, 0xEE, sizeof area);
        patch.apply(lba, area + kGuard);
        for (int i = 0; i < kGuard; ++i) {
            if (area[i] != 0xEE || area[sizeof area - 1 - i] != 0xEE) std::abort();
        }
    }
    if (patch.release() != 0 || patch.size() != 0) std::abort();
    return 0;
}
