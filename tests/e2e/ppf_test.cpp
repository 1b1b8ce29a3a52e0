// PPF patch files beside a CUE image, read through the classic exports of the built plugin.
#include <algorithm>
#include <string>
#include <tuple>

#include "tests/e2e/plugin_harness.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/ppf_patch.h"

namespace lumadisc::e2e {
namespace {

using Bytes = std::vector<uint8_t>;
using fixtures::PpfPatchBuilder;
constexpr int32_t kSectors = 32;

int64_t at(Lba lba, int byte) { return int64_t{lba} * kRawSectorSize + byte; }

// Where two sectors first differ, or -1.
int firstDifference(const Bytes& a, const Bytes& b) {
    const auto mismatch = std::mismatch(a.begin(), a.end(), b.begin());
    return mismatch.first == a.end() ? -1 : static_cast<int>(mismatch.first - a.begin());
}

class PpfThroughThePlugin : public PluginHarness {
protected:
    fixtures::CueImage writeImage() { return writeCue(fixtures::CueImageBuilder().addDataTrack(kSectors)); }
    void writePatch(const Bytes& bytes) { ASSERT_TRUE(fixtures::writeBytes(dir() + "/disc.ppf", bytes, nullptr)); }
    // Reads every sector of the image `passes` times and compares it with the image plus `changes`.
    void expectSectors(const fixtures::CueImage& image, const std::vector<std::tuple<Lba, int, std::string>>& changes,
                       int passes = 2) {
        for (int pass = 0; pass < passes; ++pass) {
            for (Lba lba = 0; lba < kSectors; ++lba) {
                Bytes expected = binSector(image.binPath, lba);
                for (const auto& [changed, start, bytes] : changes) {
                    if (changed == lba) std::copy(bytes.begin(), bytes.end(), expected.begin() + start);
                }
                Bytes sector(kRawSectorSize);
                uint8_t sub[kSubchannelSize];
                host().readRaw(lba, sector.data(), sub);
                EXPECT_EQ(firstDifference(sector, expected), -1) << "LBA " << lba << ", pass " << pass;
            }
        }
    }
};

TEST_F(PpfThroughThePlugin, EveryVersionPatchesExactlyTheCoveredBytesAndLaterRecordsWin) {
    const auto image = writeImage();
    const struct { int version; uint8_t blockCheck; bool description; } variants[] = {
        {1, 0, false}, {2, 0, false}, {2, 0, true}, {3, 0, false}, {3, 1, false}, {3, 1, true}};
    for (const auto& variant : variants) {
        PpfPatchBuilder builder(variant.version);
        builder.blockCheck(variant.blockCheck)
            .add(at(16, 24), "\xA1\xA2\xA3\xA4")
            .add(at(10, 2340), std::string(30, 'E'))  // runs past the end of sector 10
            .add(at(20, 100), "AAAAAAAA")
            .add(at(20, 104), "BB");
        if (variant.version == 3) builder.add(at(16, 24) + (int64_t{1} << 32), "wrap");  // not sector 16
        if (variant.description) {
            // Read as records, the block would reach this record inside the description text.
            const Bytes fake = PpfPatchBuilder(variant.version).add(at(5, 200), "EVIL").bytes();
            const auto start = static_cast<long>(PpfPatchBuilder(variant.version).recordsStart());
            builder.description(std::string(variant.version == 3 ? 64 : 60, ' ') + std::string(fake.begin() + start, fake.end()) + "   ");
        }
        writePatch(builder.bytes());
        for (const bool caching : {false, true}) {
            SCOPED_TRACE("version " + std::to_string(variant.version) + (variant.blockCheck ? ", block check" : "") +
                         (variant.description ? ", described" : "") + (caching ? ", cached" : ""));
            auto settings = settingsFor(image.cuePath, false);
            settings.caching = caching;
            ASSERT_EQ(openWith(settings), 0);
            expectSectors(image, {{16, 24, "\xA1\xA2\xA3\xA4"}, {10, 2340, std::string(12, 'E')}, {20, 100, "AAAABBAA"}});
            closePlugin();
        }
    }
}

TEST_F(PpfThroughThePlugin, SwitchedOffOrAbsentPatchesLeaveSectorsAndLogAlone) {
    const auto image = writeImage();
    auto settings = settingsFor(image.cuePath);
    ASSERT_EQ(openWith(settings), 0);  // no ".ppf" beside the image
    expectSectors(image, {}, 1);
    closePlugin();
    for (const char* quiet : {"ppf", "Warning: not open", "cdrplugin"}) {
        EXPECT_EQ(log().find(quiet), std::string::npos) << quiet;
    }

    writePatch(PpfPatchBuilder(1).add(at(16, 24), "\xA1\xA2\xA3\xA4").bytes());
    settings.ppfPatching = false;
    ASSERT_EQ(openWith(settings), 0);
    expectSectors(image, {}, 1);
}

TEST_F(PpfThroughThePlugin, UnknownSignatureIsReportedOnEveryReadFromTheSource) {
    const auto image = writeImage();
    Bytes patch = PpfPatchBuilder(3).add(at(16, 24), "\xA1\xA2\xA3\xA4").bytes();
    patch[3] = '9';
    writePatch(patch);
    ASSERT_EQ(openWith(settingsFor(image.cuePath)), 0);
    expectSectors(image, {}, 2);  // the second pass comes from the cache: not patched again
    closePlugin();
    const std::string text = log();
    auto count = [&text](const std::string& line) {
        size_t found = 0;
        for (size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1)) ++found;
        return found;
    };
    EXPECT_EQ(count("[CDR] Error: patchfile is no ppf patch.\n"), 1u);
    EXPECT_EQ(count("[CDR] error: unknown ppf type.\n"), static_cast<size_t>(kSectors));
}

}  // namespace
}  // namespace lumadisc::e2e
