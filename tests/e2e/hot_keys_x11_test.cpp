// The hot keys through the built plugin and a real X server: keys pressed through XTest reach the
// hot-key thread, whose actions show in the status query, the message file, the configuration
// program's runs and the disc that is open.
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <map>
#include <string>
#include <thread>

#include "tests/e2e/hot_key_support.h"
#include "tests/e2e/plugin_harness.h"
#include "tests/e2e/tool_runner.h"

namespace lumadisc::e2e {
namespace {

using namespace std::chrono_literals;
using fixtures::CueImageBuilder;

// The bindings the plugin starts with when it has no settings file.
const std::vector<std::pair<std::string, std::pair<std::string, std::string>>> kDefaultBindings = {
    {"hot keys", {"configdialog0", "0110004436"}},
    {"hot keys", {"coveropen0", "0110004b"}},
    {"hot keys", {"coverclose0", "0110004c"}},
    {"hot keys", {"cdswapping0", "0110005f"}},
};

class HotKeysX11 : public PluginHarness {
protected:
    void SetUp() override {
        PluginHarness::SetUp();
        std::string why;
        if (!x_.start(&why)) GTEST_SKIP() << why;
        environment_.set("DISPLAY", x_.display());
        environment_.set("TMP", dir());  // the message file goes under the scratch directory
        messages_ = dir() + "/qorvin/" + std::to_string(getpid()) + "/cdr.messages";
        writeConfigStandIn(dir());
    }

    // Opens a one-track disc with the given bindings (and further settings).
    void openWithBindings(const std::vector<std::pair<std::string, std::pair<std::string, std::string>>>& extra) {
        disc_ = writeCue(CueImageBuilder().addDataTrack(40), "first").cuePath;
        auto settings = settingsFor(disc_);
        settings.extra = extra;
        ASSERT_EQ(openWith(settings), 0);
    }
    std::string messages() const { return host::readFile(messages_); }
    bool messagesAre(const std::string& expected) const {
        return waitUntil([&] { return messages() == expected; }, 3s);
    }
    uint32_t status() {
        CdrStat stat{};
        api().getStatus(&stat);
        return stat.Status;
    }
    int lastTrack() {
        unsigned char tn[2] = {0, 0};
        api().getTN(tn);
        return tn[1];
    }

    XvfbServer x_;
    std::string messages_;
    std::string disc_;
    EnvironmentOverride environment_;
};

TEST_F(HotKeysX11, DefaultBindingsWorkTheCoverTheDiscSwapAndTheConfigurationProgram) {
    const std::string second = writeCue(CueImageBuilder().addDataTrack(30).addAudioTrack(20), "second").cuePath;
    openWithBindings(kDefaultBindings);
    std::ofstream(dir() + "/disc-cycle") << disc_ << "\n" << second << "\n";
    ASSERT_EQ(lastTrack(), 1);
    EXPECT_EQ(status() & LUMADISC_STATUS_LID_OPEN, 0u);

    ASSERT_TRUE(x_.press("F9"));
    EXPECT_TRUE(messagesAre("CD-rom cover opened\n")) << messages();
    EXPECT_EQ(status() & LUMADISC_STATUS_LID_OPEN, LUMADISC_STATUS_LID_OPEN);

    ASSERT_TRUE(x_.press("F10"));
    EXPECT_TRUE(messagesAre("CD-rom cover opened\nCD-rom cover closed\n")) << messages();
    EXPECT_EQ(status() & LUMADISC_STATUS_LID_OPEN, 0u);

    ASSERT_TRUE(x_.press("F11"));
    EXPECT_TRUE(messagesAre("CD-rom cover opened\nCD-rom cover closed\nCD swapped\n")) << messages();
    EXPECT_EQ(configRuns(dir()), 1);
    EXPECT_EQ(lastTrack(), 2) << "the disc the program chose is open";
    EXPECT_EQ(status() & LUMADISC_STATUS_LID_OPEN, 0u) << "the cover is closed again after the swap";

    ASSERT_TRUE(x_.press("Control_L Alt_L c"));
    EXPECT_TRUE(waitUntil([&] { return configRuns(dir()) == 2; }, 3s));
    EXPECT_EQ(lastTrack(), 2) << "the configuration program alone does not change the disc";
    // Control and Alt on the right side make another combination.
    ASSERT_TRUE(x_.press("Control_R Alt_L c"));
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(configRuns(dir()), 2);
}

TEST_F(HotKeysX11, ACombinationHeldForASecondFiresOnce) {
    openWithBindings(kDefaultBindings);
    ASSERT_TRUE(x_.press("F9", 1000ms));
    EXPECT_TRUE(messagesAre("CD-rom cover opened\n"));
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(messages(), "CD-rom cover opened\n");
    ASSERT_TRUE(x_.press("F9"));
    EXPECT_TRUE(messagesAre("CD-rom cover opened\nCD-rom cover opened\n")) << messages();
    // Shift held with F9 is not F9.
    ASSERT_TRUE(x_.press("Shift_R F9"));
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(messages(), "CD-rom cover opened\nCD-rom cover opened\n");
}

TEST_F(HotKeysX11, VolumesStopAtTheirLimitsAndSayItAgain) {
    openWithBindings({{"cdrom property", {"cddavolumelevel", "95"}},
                      {"cdrom property", {"cdxavolumelevel", "5"}},
                      {"hot keys", {"increasecddavolume0", "01100047"}},   // F5
                      {"hot keys", {"decreasecdxavolume1", "01100048"}}}); // F6, in the second slot
    ASSERT_TRUE(x_.press("F5"));
    ASSERT_TRUE(x_.press("F5"));
    ASSERT_TRUE(x_.press("F6"));
    ASSERT_TRUE(x_.press("F6"));
    EXPECT_TRUE(messagesAre("CDDA volume level: 100\nCDDA volume level: 100\n"
                            "CDXA volume level: 0\nCDXA volume level: 0\n"))
        << messages();
}

TEST_F(HotKeysX11, OneCombinationInSeveralSlotsRunsEachInTurn) {
    openWithBindings({{"hot keys", {"togglecdxa0", "01100049"}},  // F7 in both slots of togglecdxa
                      {"hot keys", {"togglecdxa1", "01100049"}},
                      {"hot keys", {"togglecdda1", "01100049"}}});
    ASSERT_TRUE(x_.press("F7"));
    EXPECT_TRUE(messagesAre("CDXA sound: muted\nCDXA sound: unmuted\nCDDA sound: muted\n")) << messages();
}

TEST_F(HotKeysX11, TheMessageReaderMakesRoomForLaterLines) {
    openWithBindings(kDefaultBindings);
    const std::string full(1024, '.');
    std::ofstream(messages_) << full;
    ASSERT_TRUE(x_.press("F9"));
    std::this_thread::sleep_for(150ms);
    EXPECT_EQ(messages(), full) << "a full file takes no more lines";
    ToolResult read = runLumadisc(scratch_, {"messages", "--pid", std::to_string(getpid())});
    EXPECT_EQ(read.out, full);
    ASSERT_TRUE(x_.press("F10"));
    EXPECT_TRUE(messagesAre("CD-rom cover closed\n")) << messages();
    read = runLumadisc(scratch_, {"messages"});
    EXPECT_EQ(read.out, "CD-rom cover closed\n") << describeRun(read);
}

TEST_F(HotKeysX11, TheXServerGoingAwayLeavesTheHostRunningAndTheDiscReading) {
    openWithBindings(kDefaultBindings);
    ASSERT_TRUE(x_.press("F9"));
    ASSERT_TRUE(messagesAre("CD-rom cover opened\n")) << messages();
    x_.stop();
    std::this_thread::sleep_for(300ms);  // several polls of the hot-key thread meet the closed connection
    EXPECT_EQ(host().readSector(5).result, 0);
    EXPECT_EQ(messages(), "CD-rom cover opened\n");
    EXPECT_EQ(api().close(), 0);
    EXPECT_NE(host::readFile(dir() + "/lumaDisc.log")
                  .find("[CDR] Warning: the connection to the X server was lost, keys are read from evdev keyboards.\n"),
              std::string::npos);
}

// Run under ThreadSanitizer too: the hot-key thread changes settings, reloads them and swaps the disc
// while the host's thread reads sectors and starts and stops CD audio, and the audio thread plays.
TEST_F(HotKeysX11, KeysCdAudioAndHostReadsRunTogether) {
    const auto withAudio = [](int dataSectors) {
        return CueImageBuilder().addDataTrack(dataSectors).addAudioTrack(300);
    };
    disc_ = writeCue(withAudio(40), "first").cuePath;
    const std::string second = writeCue(withAudio(30), "second").cuePath;
    std::ofstream(dir() + "/disc-cycle") << disc_ << "\n" << second << "\n";
    auto settings = settingsFor(disc_);
    settings.playCdda = true;
    settings.extra = kDefaultBindings;
    settings.extra.push_back({"hot keys", {"togglecdda0", "01100049"}});          // F7
    settings.extra.push_back({"hot keys", {"increasecddavolume0", "01100047"}});  // F5
    settings.extra.push_back({"hot keys", {"decreasecddavolume1", "01100048"}});  // F6
    ASSERT_EQ(openWith(settings), 0);

    std::atomic<bool> done{false};
    std::thread keys([&] {
        for (int round = 0; round < 3; ++round) {
            for (const char* key : {"F7", "F5", "F6", "F9", "F10", "F11", "F7"}) x_.press(key, 150ms, 100ms);
        }
        done = true;
    });
    int reads = 0, failed = 0;
    for (int i = 0; !done; ++i) {
        const host::SectorRead sector = host().readSector(i % 30);
        ++reads;
        if (sector.result != 0) ++failed;
        status();
        if (i % 25 == 0) {
            unsigned char start[3] = {0, 0, 0};
            api().getTD(2, start);
            unsigned char at[3] = {start[2], start[1], start[0]};
            api().play(at);
        } else if (i % 25 == 12) {
            api().stop();
        }
        std::this_thread::sleep_for(2ms);
    }
    keys.join();
    EXPECT_GT(reads, 100);
    EXPECT_EQ(failed, 0) << "every read of a data sector of either disc succeeded";
    const std::string said = messages();
    size_t swaps = 0;
    for (size_t at = said.find("CD swapped\n"); at != std::string::npos; at = said.find("CD swapped\n", at + 1)) ++swaps;
    // A press can be missed on a loaded machine; every swap that happened ran the program once.
    EXPECT_GE(swaps, 2u) << said;
    EXPECT_EQ(configRuns(dir()), static_cast<int>(swaps));
}

}  // namespace
}  // namespace lumadisc::e2e
