// Feeds arbitrary bytes as a ".ppf" file beside an image, loads it and applies it to sectors near
// the start of the disc, at negative positions and at the far ends of the Lba range, then releases it.
// Each apply works on a sector with guard bytes around it, which must stay untouched.
//
// `fuzz_ppf --write-seeds DIR` writes a small seed corpus of generated patch files into DIR and exits.
#include <climits>

#include "formats/ppf_patch.h"
#include "tests/fuzz/fuzz_support.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/ppf_patch.h"

namespace {

using lumadisc::fixtures::PpfPatchBuilder;

constexpr int64_t kSector = lumadisc::kRawSectorSize;

std::vector<lumadisc::fuzz::Seed> seeds() {
    const auto records = [](PpfPatchBuilder builder) {
        builder.add(16 * kSector + 24, "\x01\x02\x03\x04").add(10 * kSector + 2340, std::string(30, 'x'));
        builder.add(-2, "ab").add(INT32_MAX, "cd");
        return builder;
    };
    const std::vector<uint8_t> patches[] = {
        records(PpfPatchBuilder(1)).bytes(),
        records(PpfPatchBuilder(2)).bytes(),
        records(PpfPatchBuilder(2)).description("a described patch").bytes(),
        records(PpfPatchBuilder(3)).add(int64_t{1} << 40, "far").bytes(),
        records(PpfPatchBuilder(3)).blockCheck(1).description("described").bytes(),
        records(PpfPatchBuilder(2)).description("x").descriptionLengthField(-100).bytes(),
    };
    std::vector<lumadisc::fuzz::Seed> result;
    for (const auto& patch : patches) result.push_back({"patch" + std::to_string(result.size()) + ".ppf", patch});
    return result;
}

std::string g_image;
std::string g_patch;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    lumadisc::fuzz::handleWriteSeeds(*argc, *argv, seeds);
    const std::string directory = lumadisc::fuzz::scratchDirectory("lumadisc-fuzz-ppf");
    g_image = directory + "/disc.cue";
    g_patch = directory + "/disc.ppf";
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
