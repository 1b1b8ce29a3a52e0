// A soak of the host's thread against the CD audio streaming thread, bounded in time: data reads
// while CD audio starts and stops thousands of times, and disc opens and closes with audio playing
// (and opens again without a close, as some hosts do on a disc change).
// Run under ThreadSanitizer too; every data read must be the image's sector.
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>

#include "tests/e2e/plugin_harness.h"

namespace lumadisc::e2e {
namespace {

using Clock = std::chrono::steady_clock;

TEST(ConcurrencySoak, DataReadsStayCorrectWhileAudioStartsStopsAndTheDiscReopens) {
    host::ScratchDir scratch("lumadisc-soak");
    fixtures::CueImageBuilder builder;
    builder.addDataTrack(64, [](Lba lba, int32_t, fixtures::Sector& s) { s = fixtures::patternSector(lba); })
        .addAudioTrack(600, [](Lba lba, int32_t, fixtures::Sector& s) { s = fixtures::patternSector(lba); });
    fixtures::CueImage image;
    std::string error;
    ASSERT_TRUE(builder.write(scratch.path(), "soak", &image, &error)) << error;
    fixtures::PluginIni ini = settingsFor(image.cuePath, false);
    ini.playCdda = true;
    ini.caching = true;
    ASSERT_TRUE(fixtures::writePluginIni(scratch.path(), ini, &error)) << error;
    // No sound card here, or a file backend chosen by another test: the player runs either way.
    setenv("ALSOFT_DRIVERS", "null", 0);

    host::ClassicHost host;
    ASSERT_TRUE(host.load(LUMADISC_PLUGIN_PATH)) << host.error();
    ASSERT_EQ(chdir(scratch.path().c_str()), 0);
    ASSERT_EQ(host.api().init(), 0);
    ASSERT_EQ(host.api().open(), 0);

    const Lba audio = image.trackStarts[1];
    const auto end = Clock::now() + std::chrono::seconds(6);
    int cycles = 0, reopens = 0, wrong = 0;
    for (; cycles < 3000 && Clock::now() < end; ++cycles) {
        const Msf at = msfFromLba(audio + cycles % 500);
        unsigned char time[3] = {at.minute, at.second, at.frame};
        host.api().play(time);
        const Lba lba = cycles % 64;
        const host::SectorRead read = host.readSector(lba);  // stops CD audio first
        const std::vector<uint8_t> raw = binSector(image.binPath, lba);
        if (read.result != 0 || std::memcmp(read.header, raw.data() + 12, 4) != 0 ||
            std::memcmp(read.data, raw.data() + 24, sizeof read.data) != 0) {
            ++wrong;
        }
        if (cycles % 3 == 0) {
            host.api().play(time);
            host.api().stop();
        }
        if (cycles % 150 == 149) {  // close and open again with CD audio playing
            host.api().play(time);
            ASSERT_EQ(host.api().close(), 0);
            ASSERT_EQ(host.api().open(), 0);
            ++reopens;
        } else if (cycles % 150 == 74) {  // a host that opens again without closing, audio playing
            host.api().play(time);
            ASSERT_EQ(host.api().open(), 0);
            ++reopens;
        }
    }
    const Msf last = msfFromLba(audio);
    unsigned char time[3] = {last.minute, last.second, last.frame};
    host.api().play(time);  // closed while playing
    EXPECT_EQ(host.api().close(), 0);
    EXPECT_EQ(host.api().shutdown(), 0);
    std::printf("[ measured ] %d play/read/stop cycles and %d reopens in the time bound\n", cycles, reopens);
    EXPECT_EQ(wrong, 0) << "data reads that did not return the image's sector";
    EXPECT_GT(cycles, 300) << "the soak made too little progress: something waits";
}

}  // namespace
}  // namespace lumadisc::e2e
