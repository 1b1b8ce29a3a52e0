// Feeds arbitrary bytes as a compressed CD image (written to a scratch file, since the image is read
// from a path) to the image reader: header, hunk map, metadata and track list, then reads sectors
// and subchannel blocks spread over whatever disc it describes.
// `fuzz_chd --write-seeds DIR` writes small images made by chdman with each codec into DIR.
#include <algorithm>
#include <fstream>
#include <iterator>

#include "formats/chd_image.h"
#include "formats/extent_disc.h"
#include "tests/fuzz/fuzz_support.h"
#include "tools/fixtures/chd_image.h"
#include "tools/fixtures/cue_image.h"

namespace {

std::string g_imagePath;

std::vector<lumadisc::fuzz::Seed> seeds() {
    using namespace lumadisc;
    const std::string directory = fuzz::scratchDirectory("lumadisc-fuzz-chd-seeds");
    fixtures::CueImageBuilder builder;
    // Mostly empty sectors keep the seeds small; 26 hunks of 8 frames.
    const auto sparse = [](Lba lba, int32_t, fixtures::Sector& sector) {
        sector = lba % 16 == 0 ? fixtures::mixedDataSector(lba) : fixtures::form1Sector(lba, {});
    };
    const auto quiet = [](Lba lba, int32_t, fixtures::Sector& sector) {
        sector.fill(0);
        sector[lba % 64] = 1;
    };
    builder.addDataTrack(120, sparse).addAudioTrack(80, quiet, 8);
    fixtures::CueImage cue;
    std::string error;
    std::vector<fuzz::Seed> result;
    if (!builder.write(directory, "seed", &cue, &error)) return result;
    const std::vector<std::vector<std::string>> options = {{}, {"-c", "cdzl"}, {"-c", "cdfl"}, {"-c", "none"}};
    for (size_t i = 0; i < options.size(); ++i) {
        const std::string chd = directory + "/seed" + std::to_string(i) + ".chd";
        if (!fixtures::writeChd(cue.cuePath, chd, options[i], &error)) continue;
        std::ifstream in(chd, std::ios::binary);
        result.push_back({"seed" + std::to_string(i) + ".chd", {std::istreambuf_iterator<char>(in), {}}});
    }
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    lumadisc::fuzz::handleWriteSeeds(*argc, *argv, seeds);
    g_imagePath = lumadisc::fuzz::scratchDirectory("lumadisc-fuzz-chd") + "/image.chd";
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace lumadisc;
    FILE* file = std::fopen(g_imagePath.c_str(), "wb");
    if (!file) std::abort();
    if (size > 0 && std::fwrite(data, 1, size, file) != size) std::abort();
    if (std::fclose(file) != 0) std::abort();
    DiscDescription disc;
    if (describeChd(g_imagePath.c_str(), disc) != 0) {
        if (!disc.extents.empty()) std::abort();
        return 0;
    }
    const ExtentTable& extents = disc.extents;
    if (extents.empty()) std::abort();
    for (size_t i = 1; i < extents.extents().size(); ++i) {
        const Extent& before = extents.extents()[i - 1];
        const Extent& e = extents.extents()[i];
        if (e.start != before.start + before.count || e.track < before.track) std::abort();
    }
    CCdExtentData reader(extents);
    CCdExtentSub sub(extents, reader);
    sub.useStored(true);
    if (reader.open(g_imagePath.c_str()) != 0) std::abort();
    const Lba first = extents.extents().front().start, last = extents.end();
    const int64_t step = std::max<int64_t>(1, (static_cast<int64_t>(last) - first) / 48);
    uint8_t sector[kRawSectorSize], block[kSubchannelSize];
    for (int64_t lba = first - 2; lba <= last + 2; lba += step) {
        const int result = reader.read(static_cast<Lba>(lba), sector);
        if (result != 0 && result != -1) std::abort();
        sub.read(static_cast<Lba>(lba), block);
    }
    reader.close();
    return 0;
}
