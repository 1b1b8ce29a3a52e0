// While CD audio plays, the current subchannel block follows the sector being played: the classic
// CDRgetBufferSub, the controller's GetlocP and a save state all see the playing position, and a state
// saved during CD audio resumes there, in this process and in a new one.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <thread>

#include "host/console_driver.h"
#include "host/console_host.h"
#include "tests/e2e/plugin_harness.h"

namespace lumadisc::e2e {
namespace {

using namespace std::chrono_literals;

constexpr int kAudioSectors = 6000;

// The player's mono mix at volume 100 of one raw audio sector, as the host receives it.
std::vector<uint8_t> mixed(const std::vector<uint8_t>& raw) {
    std::vector<uint8_t> out(raw.size());
    for (size_t i = 0; i + 4 <= raw.size(); i += 4) {
        const int32_t left = static_cast<int16_t>(raw[i] | raw[i + 1] << 8);
        const int32_t right = static_cast<int16_t>(raw[i + 2] | raw[i + 3] << 8);
        const auto v = static_cast<uint16_t>(static_cast<int16_t>(std::clamp(left + right, -32768, 32767)));
        out[i] = out[i + 2] = static_cast<uint8_t>(v);
        out[i + 1] = out[i + 3] = static_cast<uint8_t>(v >> 8);
    }
    return out;
}

Lba absoluteOf(const uint8_t* q) { return lbaFromBcdMsf(q + 7); }

class CddaPosition : public PluginHarness {
protected:
    // A data track, then an audio track whose every sector differs from its neighbours.
    fixtures::CueImage disc() {
        fixtures::CueImageBuilder builder;
        builder.addDataTrack(32, [](Lba lba, int32_t, fixtures::Sector& s) {
            s = fixtures::form1Sector(lba, std::vector<uint8_t>(2048, static_cast<uint8_t>(lba)));
        });
        builder.addAudioTrack(kAudioSectors, [](Lba lba, int32_t, fixtures::Sector& s) { s = fixtures::patternSector(lba); });
        return writeCue(builder);
    }
    static fixtures::PluginIni settings(const fixtures::CueImage& image) {
        fixtures::PluginIni ini = settingsFor(image.cuePath, false);
        ini.playCdda = true;
        return ini;
    }
};

TEST_F(CddaPosition, TheClassicSubchannelFollowsThePlayingSector) {
    const auto image = disc();
    ASSERT_EQ(openWith(settings(image)), 0);
    const Lba start = image.trackStarts[1];
    const Msf at = msfFromLba(start);
    unsigned char time[3] = {at.minute, at.second, at.frame};
    ASSERT_EQ(api().play(time), 0);
    Lba previous = start - 1;
    for (int i = 0; i < 4; ++i) {
        std::this_thread::sleep_for(200ms);
        const uint8_t* q = api().getBufferSub() + kSubchannelQOffset;
        ASSERT_TRUE(qCrcValid(q));
        const Lba now = absoluteOf(q);
        EXPECT_GT(now, previous) << "the position moves on while CD audio plays (read " << i << ")";
        EXPECT_LT(now, start + kAudioSectors);
        previous = now;
    }
    EXPECT_GT(previous, start + 40) << "about 75 sectors a second play";
    ASSERT_EQ(api().stop(), 0);
}

class ExtendedPosition : public CddaPosition {
protected:
    // Brings the extended face up on the image with a sound processor that takes a block every 2 ms.
    void bringUp(const fixtures::CueImage& image) {
        std::string error;
        ASSERT_TRUE(fixtures::writePluginIni(dir(), settings(image), &error)) << error;
        console_.setCddaRecorder(4096, 2000);
        ASSERT_TRUE(console_.load(LUMADISC_PLUGIN_PATH)) << console_.error();
        ASSERT_EQ(console_.init(), 0);
        ASSERT_EQ(console_.open(), 0);
        ASSERT_EQ(console_.start(), 0);
    }
    void play(Lba lba) {
        const Msf at = bcdMsf(msfFromLba(lba));
        ASSERT_TRUE(driver_.command(host::kCmdSetloc, {at.minute, at.second, at.frame}).complete);
        ASSERT_TRUE(driver_.command(host::kCmdPlay).complete);
    }
    // GetlocP's absolute minute and second (its last two bytes), as the Lba of that second's start.
    Lba getlocP() {
        const host::CommandResult r = driver_.command(host::kCmdGetlocP);
        const std::vector<uint8_t>& b = r.bytes();
        if (b.size() < 8) return -1000;
        return lbaFromMsf(binaryFromBcd(b[6]), binaryFromBcd(b[7]), 0);
    }
    // The sector of the image whose mix the block is, looked for near `around`; -1 when none.
    Lba sectorOfBlock(const fixtures::CueImage& image, const std::vector<uint8_t>& block, Lba around) {
        for (Lba lba = std::max(image.trackStarts[1], around - 160); lba < around + 160; ++lba)
            if (mixed(binSector(image.binPath, lba)) == block) return lba;
        return -1;
    }
    // The sector of the last block the sound processor received.
    Lba lastPlayed(const fixtures::CueImage& image) {
        const auto blocks = console_.cddaBlocks();
        return blocks.empty() ? -1 : sectorOfBlock(image, blocks.back(), getlocP());
    }
    // A save state taken while playing: the sectors the sound processor had received just before and
    // just after it.
    struct Saved {
        Lba before = -1, after = -1;
    };
    StateRecord* saveWhilePlaying(const fixtures::CueImage& image, Saved& saved) {
        EXPECT_TRUE(console_.waitCdda(console_.cddaCount() + 20, 5000));
        saved.before = lastPlayed(image);
        StateRecord* record = console_.saveState();
        saved.after = lastPlayed(image);
        EXPECT_NE(saved.before, -1);
        EXPECT_NE(saved.after, -1);
        return record;
    }
    // After a LoadState: the first audible block comes from about where the state was saved (the
    // sector being played then, give or take the one on its way to the sound processor), and the
    // blocks after it are the sectors after it, in order.
    void expectResumesAt(const fixtures::CueImage& image, Saved saved) {
        ASSERT_TRUE(console_.waitCdda(console_.cddaCount() + 30, 5000));
        const auto blocks = console_.cddaBlocks();
        auto first = std::find_if(blocks.begin(), blocks.end(), [](const std::vector<uint8_t>& b) {
            return std::any_of(b.begin(), b.end(), [](uint8_t v) { return v; });
        });
        ASSERT_LE(first + 20, blocks.end());
        const Lba resumed = sectorOfBlock(image, *first, saved.before);
        ASSERT_NE(resumed, -1) << "the first block after the load is no sector near " << saved.before;
        EXPECT_GE(resumed, saved.before - 1) << "saved while sectors " << saved.before << ".." << saved.after << " played";
        EXPECT_LE(resumed, saved.after + 2) << "saved while sectors " << saved.before << ".." << saved.after << " played";
        for (int k = 1; k < 20; ++k)
            ASSERT_EQ(first[k], mixed(binSector(image.binPath, resumed + k))) << "block " << k << " after the resume";
    }

    host::ConsoleHost console_;
    host::ConsoleDriver driver_{console_};
};

TEST_F(ExtendedPosition, GetlocPAdvancesAndASaveStateDuringPlayResumesThereInThisProcessAndANewOne) {
    const auto image = disc();
    const Lba start = image.trackStarts[1];
    const std::string recordPath = dir() + "/state.bin";

    // A new process plays, saves, and hands its record over in a file.
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        bringUp(image);
        play(start + 300);
        std::this_thread::sleep_for(300ms);
        Saved saved;
        StateRecord* record = saveWhilePlaying(image, saved);
        std::ofstream(recordPath, std::ios::binary).write(reinterpret_cast<const char*>(record), sizeof *record);
        std::ofstream(recordPath + ".at") << saved.before << ' ' << saved.after;
        std::free(record);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the saving process failed";

    bringUp(image);
    play(start + 100);
    Lba previous = getlocP();
    for (int i = 0; i < 2; ++i) {
        std::this_thread::sleep_for(1100ms);  // GetlocP counts whole seconds of the absolute time
        const Lba now = getlocP();
        EXPECT_GT(now, previous) << "GetlocP moves on while CD audio plays";
        previous = now;
    }

    // This process: save while playing, stop, load.
    Saved saved;
    StateRecord* record = saveWhilePlaying(image, saved);
    ASSERT_TRUE(driver_.command(host::kCmdStop).complete);
    console_.clearCdda();
    ASSERT_EQ(console_.loadState(*record), 0);
    std::free(record);
    expectResumesAt(image, saved);

    // The record of the other process.
    ASSERT_TRUE(driver_.command(host::kCmdStop).complete);
    StateRecord other{};
    std::ifstream(recordPath, std::ios::binary).read(reinterpret_cast<char*>(&other), sizeof other);
    Saved otherSaved;
    std::ifstream(recordPath + ".at") >> otherSaved.before >> otherSaved.after;
    EXPECT_GT(otherSaved.before, start + 300);
    console_.clearCdda();
    ASSERT_EQ(console_.loadState(other), 0);
    expectResumesAt(image, otherSaved);
    console_.bringDown();
}

}  // namespace
}  // namespace lumadisc::e2e
