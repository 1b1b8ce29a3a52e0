// The emulated CD-ROM controller through the built plugin under the console host: responses,
// interrupt numbers and tick delays, reads and DMA against the image's bytes, the report, auto-pause,
// the cover and save states restored in a fresh process.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "host/console_driver.h"
#include "host/console_host.h"
#include "host/scratch_dir.h"
#include "tests/e2e/plugin_harness.h"
#include "tools/fixtures/cue_image.h"
#include "tools/fixtures/ini_file.h"

namespace lumadisc::e2e {
namespace {

using namespace host;
using Bytes = std::vector<uint8_t>;

constexpr uint32_t kRam = 0x80100000u;
constexpr const char* kRestoreEnv = "LUMADISC_RESTORE_FROM";

class ExtendedController : public ::testing::Test {
protected:
    void SetUp() override {
        if (const char* parent = std::getenv(kRestoreEnv)) {  // the restoring side of a save state
            ASSERT_EQ(chdir(parent), 0);
            dir_ = parent;
            return;
        }
        ASSERT_TRUE(scratch_.ok() && scratch_.enter());
        dir_ = scratch_.path();
        fixtures::CueImageBuilder builder;
        // Track 1: 90 data sectors, the licence in sector 4, the end of a file at sector 85; 2..12: audio.
        builder.addDataTrack(90, [](Lba lba, int32_t, fixtures::Sector& sector) {
            Bytes user(2048);
            for (int i = 0; i < 2048; ++i) user[i] = fixtures::patternByte(lba, i);
            if (lba == 4) std::memcpy(user.data() + 32, "licence for Europe", 18);
            const uint8_t mode = lba == 85 ? 0x88 : 0x08;  // data, end of file
            sector = fixtures::form1Sector(lba, user, {0, 0, mode, 0});
        });
        for (int track = 2; track <= 12; ++track) builder.addAudioTrack(5);
        std::string error;
        fixtures::CueImage image;
        ASSERT_TRUE(builder.write(dir_, "disc", &image, &error)) << error;
        bin_ = image.binPath;
        fixtures::PluginIni settings = settingsFor(image.cuePath);
        settings.playCdda = false;
        ASSERT_TRUE(fixtures::writePluginIni(dir_, settings, &error)) << error;
    }
    void TearDown() override {
        console_.bringDown();
        scratch_.leave();
    }
    void bringUp() {
        ASSERT_TRUE(console_.load(LUMADISC_PLUGIN_PATH)) << console_.error();
        ASSERT_EQ(console_.init(), 0);
        ASSERT_EQ(console_.open(), 0);
    }
    Bytes image(Lba lba, int from, int count) {
        const Bytes raw = binSector(bin_, lba);
        return Bytes(raw.begin() + from, raw.begin() + from + count);
    }
    Bytes readRam(uint32_t address, size_t n) {
        Bytes out(n);
        EXPECT_TRUE(console_.readRam(address, out.data(), n));
        return out;
    }

    ScratchDir scratch_{"lumadisc-controller"};
    std::string dir_, bin_;
    ConsoleHost console_;
    ConsoleDriver driver_{console_};
};

TEST_F(ExtendedController, AnswersEachCommandWithItsInterruptsBytesAndDelays) {
    bringUp();
    struct Answer { uint8_t irq; Bytes bytes; };
    struct Case { uint8_t command; Bytes parameters; std::vector<Answer> answers; };
    const Bytes euro = {'f', 'o', 'r', ' ', 'E', 'u', 'r', 'o'};
    const Case cases[] = {
        {kCmdGetStat, {}, {{3, {0x11}}}},  // cover open: error and shell bits, no motor
        {kCmdSync, {}, {{3, {0x02}}}},
        {kCmdGetStat, {}, {{3, {0x11}}}},
        {kCmdTest, {0x20}, {{3, {0x98, 0x06, 0x10, 0xC3}}}},
        {kCmdTest, {0x22}, {{3, euro}}},
        {kCmdGetparam, {}, {{3, {0x02, 0x20, 0x00, 0x01, 0x01}}}},
        {kCmdGetTN, {}, {{3, {0x02, 0x01, 0x12}}}},
        {kCmdGetTD, {0x01}, {{3, {0x02, 0x00, 0x02, 0x00}}}},
        {kCmdGetTD, {0x02}, {{3, {0x02, 0x15, 0x03, 0x00}}}},  // 00:03:15 as frame, second, minute
        {kCmdSeekL, {}, {{3, {0x02}}, {2, {0x02, 0x01, 0x02}}}},
        {kCmdGetID, {}, {{3, {0x02}}, {2, {0x00, 0x80, 0x00, 0x00, 'S', 'C', 'E', 'E'}}}},
        {kCmdInit, {}, {{3, {0x02}}, {2, {0x02}}}},
        {kCmdStop, {}, {{2, {0x00}}}},
        {kCmdMotorOn, {}, {{2, {0x02}}}},
        {kCmdPause, {}, {{3, {0x02}}, {2, {0x02}}}},
        {kCmdPlay, {0x99}, {{3, {0x02}}}},  // location 00:00:00: by track, 0x99 lowered to 12
        {kCmdGetStat, {}, {{3, {0x91}}}},   // playing
        {kCmdStop, {}, {{2, {0x00}}}},
    };
    for (const Case& c : cases) {
        const CommandResult result = driver_.command(c.command, c.parameters);
        const std::string name = ConsoleDriver::commandName(c.command);
        ASSERT_EQ(result.responses.size(), c.answers.size()) << name;
        for (size_t i = 0; i < c.answers.size(); ++i) {
            EXPECT_EQ(result.responses[i].interrupt, c.answers[i].irq) << name << " answer " << i;
            EXPECT_EQ(result.responses[i].bytes, c.answers[i].bytes) << name << " answer " << i;
        }
        const TraceEntry* first = nullptr;
        for (const TraceEntry& e : driver_.trace()) {
            if (e.kind == TraceEntry::Kind::Response && !first) first = &e;
        }
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(first->sinceCommand, c.command == kCmdPause ? 524288u : 4096u) << name;
        if (result.responses.size() == 2) {
            EXPECT_EQ(result.responses[1].tick - result.responses[0].tick, 4096u) << name;
        }
        driver_.clearTrace();
    }
    EXPECT_NE(host::readFile("lumaDisc.log").find("[CDR] CCdromControl::getTD(12).\n"), std::string::npos);

    // Codes without an action, and commands at an odd index, are never answered.
    const size_t irqs = console_.irqCount();
    driver_.send(0x1D);
    console_.writePort(kPortStatus, 1);
    console_.writePort(kPortCommand, kCmdGetStat);
    console_.advance(2'000'000);
    EXPECT_EQ(console_.irqCount(), irqs);
}

TEST_F(ExtendedController, HoldsAStepBackUntilAcknowledgedAndHonoursIrqEnable18) {
    bringUp();
    console_.writePort(kPortStatus, 1);
    console_.writePort(kPortParameter, 0x18);
    driver_.send(kCmdSync);
    console_.advance(4096);
    EXPECT_EQ(console_.irqCount(), 0u);
    EXPECT_EQ(driver_.interruptFlag(), 3);  // answered, without the interrupt line
    driver_.acknowledge();
    ASSERT_TRUE(driver_.command(kCmdSetloc, {0x00, 0x02, 0x00}).complete);  // steps do not raise it...
    driver_.send(kCmdReadN);
    console_.advance(4096);
    EXPECT_EQ(console_.irqCount(), 0u);
    driver_.acknowledge();
    console_.runUntil([&] { return console_.irqCount() >= 1; }, 50'000'000);
    EXPECT_EQ(console_.irqCount(), 1u);  // ...sector deliveries do
    driver_.acknowledge();
    console_.writePort(kPortParameter, 0x1F);  // index 1: interrupts enabled again

    // A step due while a sector's interrupt waits runs only after the acknowledgement.
    const size_t before = console_.irqCount();
    console_.advance(903168 - 100);
    driver_.send(kCmdGetStat);
    console_.advance(100);  // the next sector arrives
    EXPECT_EQ(console_.irqCount(), before + 1);
    console_.advance(20000);  // GetStat's step is due, and due again
    EXPECT_EQ(console_.irqCount(), before + 1);
    EXPECT_EQ(driver_.interruptFlag(), 1);
    driver_.acknowledge();
    const std::optional<Response> answer = driver_.awaitInterrupt();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->interrupt, 3);
    EXPECT_EQ(answer->bytes, Bytes{0x31});  // reading, cover open
}

TEST_F(ExtendedController, ReadsSectorsInOrderAtEitherSpeed) {
    bringUp();
    // Double speed, whole sectors from the header: 585 words each, the image's bytes 12..2351.
    ASSERT_TRUE(driver_.command(kCmdSetmode, {0xA0}).complete);
    const auto sectors = driver_.readSectors(0, 80, 2340);
    ASSERT_EQ(sectors.size(), 80u);
    for (Lba lba = 0; lba < 80; ++lba) EXPECT_EQ(sectors[lba], image(lba, 12, 2340)) << "sector " << lba;
    EXPECT_EQ(Bytes(sectors[75].begin(), sectors[75].begin() + 3), (Bytes{0x00, 0x03, 0x00}));
    std::vector<uint64_t> ticks;
    for (const TraceEntry& e : driver_.trace()) {
        if (e.kind == TraceEntry::Kind::Response && e.code == 1) ticks.push_back(e.tick);
    }
    for (size_t i = 1; i < ticks.size(); ++i) EXPECT_EQ(ticks[i] - ticks[i - 1], 451584u);

    // Single speed, 2048-byte mode: INT3 4096 after ReadN, the first sector 524288 later, then
    // 903168 after each acknowledgement; DMA of 512 words is the user data and answers 1024.
    ASSERT_TRUE(driver_.command(kCmdSetmode, {0x00}).complete);
    ASSERT_TRUE(driver_.command(kCmdSetloc, {0x00, 0x02, 0x10}).complete);
    const uint64_t sent = console_.now();
    const CommandResult read = driver_.command(kCmdReadN);
    ASSERT_TRUE(read.complete);
    EXPECT_EQ(read.responses[0].tick - sent, 4096u);
    uint64_t previous = read.responses[0].tick;
    for (int i = 0; i < 3; ++i) {
        const std::optional<SectorData> sector = driver_.nextSector(2048);
        ASSERT_TRUE(sector);
        EXPECT_EQ(sector->response.tick - previous, i == 0 ? 524288u : 903168u);
        EXPECT_EQ(sector->dma.result, 1024u);
        EXPECT_EQ(sector->data, image(10 + i, 24, 2048));
        previous = sector->response.tick;
    }
}

TEST_F(ExtendedController, DataPortAndDmaHandOutNoMoreThanTheDeliveredHalf) {
    bringUp();
    std::vector<uint8_t> fill(4096, 0xCC);
    ASSERT_TRUE(console_.writeRam(kRam, fill.data(), fill.size()));
    driver_.requestData();  // no sector delivered yet
    EXPECT_EQ(console_.readPort(kPortParameter), 0);
    EXPECT_EQ(console_.startDma(kRam, 16).result, 32u);
    EXPECT_EQ(readRam(kRam, 64), Bytes(64, 0xCC));
    EXPECT_EQ(driver_.command(kCmdGetlocL).bytes(), Bytes(8, 0));

    ASSERT_TRUE(driver_.command(kCmdSetmode, {0x00}).complete);
    ASSERT_TRUE(driver_.command(kCmdSetloc, {0x00, 0x02, 0x02}).complete);
    ASSERT_TRUE(driver_.command(kCmdReadN).complete);
    ASSERT_EQ(driver_.awaitInterrupt()->interrupt, 1);
    driver_.requestData();
    const Bytes user = image(2, 24, 2328);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(console_.readPort(kPortParameter), user[i]);
    driver_.requestData();  // already requested: the position stays
    EXPECT_EQ(console_.readPort(kPortParameter), user[3]);
    const DmaRecord dma = console_.startDma(kRam, 600);  // 2400 bytes asked, 2324 left
    EXPECT_TRUE(dma.started && !dma.overrun);
    EXPECT_EQ(readRam(kRam, 2324), Bytes(user.begin() + 4, user.end()));
    EXPECT_EQ(readRam(kRam + 2324, 76), Bytes(76, 0xCC));
    EXPECT_EQ(console_.readPort(kPortParameter), 0);
    EXPECT_EQ(console_.startDma(kRam, 4, 0x01000201).result, 0u);  // another control word
    driver_.command(kCmdPause);
    EXPECT_EQ(driver_.command(kCmdGetlocL).bytes(), image(2, 12, 8));

    // In raw mode the data starts at the header; the read goes on from sector 3.
    ASSERT_TRUE(driver_.command(kCmdSetmode, {0x20}).complete);
    ASSERT_TRUE(driver_.command(kCmdReadN).complete);
    ASSERT_EQ(driver_.awaitInterrupt()->interrupt, 1);
    driver_.requestData();
    for (int i = 0; i < 4; ++i) EXPECT_EQ(console_.readPort(kPortParameter), image(3, 12, 4)[i]);
    EXPECT_TRUE(console_.guardIntact());
}

TEST_F(ExtendedController, SeeksThenAutoPausesAtTheEndOfAFile) {
    bringUp();
    ASSERT_TRUE(driver_.command(kCmdSetmode, {0x02}).complete);
    ASSERT_TRUE(driver_.command(kCmdSetloc, {0x00, 0x03, 0x08}).complete);  // sector 83
    EXPECT_EQ(driver_.command(kCmdReadN).bytes(), Bytes{0x02});
    EXPECT_EQ(driver_.command(kCmdGetStat).bytes(), Bytes{0x71});  // seeking and reading
    std::vector<Response> answers;
    for (int i = 0; i < 5; ++i) answers.push_back(*driver_.awaitInterrupt());
    const std::vector<std::pair<uint8_t, Bytes>> expected = {
        {1, {0x22}}, {1, {0x22}}, {1, {0x22}}, {3, {0x22}}, {2, {0x02}}};
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(answers[i].interrupt, expected[i].first) << i;
        EXPECT_EQ(answers[i].bytes, expected[i].second) << i;
    }
    EXPECT_EQ(answers[3].tick - answers[2].tick, 4096u);  // the Pause step after the acknowledgement
}

TEST_F(ExtendedController, ReportsThePositionWithMode05UnlessACommandComesFirst) {
    bringUp();
    driver_.readSectors(20, 1);
    ASSERT_TRUE(driver_.command(kCmdSetmode, {0x05}).complete);
    const size_t irqs = console_.irqCount();
    const uint64_t start = console_.now();
    console_.start();
    const std::optional<Response> report = driver_.awaitInterrupt();
    ASSERT_TRUE(report);
    EXPECT_EQ(report->tick - start, 3386880u + 32u);
    EXPECT_EQ(report->interrupt, 1);
    EXPECT_EQ(report->bytes, (Bytes{0x02, 0x01, 0x01, 0x00, 0x02, 0x21, 0x00, 0x00}));  // track 1, 00:02:21
    console_.advance(3386880 - 32 + 10);  // the next report tick has passed, its step is not due yet
    EXPECT_EQ(console_.irqCount(), irqs + 1);
    const CommandResult sync = driver_.command(kCmdSync);
    EXPECT_EQ(sync.responses.at(0).interrupt, 3);
    EXPECT_EQ(console_.irqCount(), irqs + 2);
}

TEST_F(ExtendedController, BindingNeedsTheTimerFunctionsAndTheSwapKeyKeepsTheCoverOpen) {
    ASSERT_TRUE(console_.load(LUMADISC_PLUGIN_PATH));
    ASSERT_EQ(console_.init(), 0);
    console_.withhold("cpuIrqWaitFuncSet");
    EXPECT_EQ(console_.open(), -1);
    for (uint32_t port = kPortStatus; port <= kPortInterrupt; ++port) EXPECT_TRUE(console_.portHooked(port));
    EXPECT_TRUE(console_.dmaHooked());
    console_.restoreAll();
    ASSERT_EQ(console_.open(), 0);
    ASSERT_TRUE(driver_.closeCover());

    console_.pressKey(kKeyDiscSwap);
    const uint64_t swapped = console_.now();
    console_.poll();
    console_.releaseKey(kKeyDiscSwap);
    console_.advance(11289600 - 10000);
    console_.poll();
    EXPECT_EQ(driver_.command(kCmdGetStat).bytes(), Bytes{0x11});
    console_.advance(swapped + 11289600 - console_.now());
    console_.poll();
    EXPECT_EQ(driver_.command(kCmdGetStat).bytes(), Bytes{0x00});
}

// What a console sees after a save state: ticks left of the events, the next data byte, the rest
// of the sector, the pending command's answer and the following sectors, with their ticks.
Bytes observeAfterState(ConsoleHost& console, ConsoleDriver& driver) {
    Bytes seen;
    auto put = [&](uint64_t value) {
        for (int i = 0; i < 8; ++i) seen.push_back(static_cast<uint8_t>(value >> (8 * i)));
    };
    const uint64_t origin = console.now();
    for (uint32_t handle = 1; handle <= 4; ++handle) put(console.ticksLeft(handle));
    seen.push_back(console.readPort(kPortParameter));
    driver.dma(kRam, 256);
    Bytes rest(1024);
    console.readRam(kRam, rest.data(), rest.size());
    seen.insert(seen.end(), rest.begin(), rest.end());
    for (int i = 0; i < 3; ++i) {
        const std::optional<Response> answer = driver.awaitInterrupt();
        if (!answer) return seen;
        put(answer->tick - origin);
        seen.push_back(answer->interrupt);
        seen.insert(seen.end(), answer->bytes.begin(), answer->bytes.end());
        if (answer->interrupt != 1) continue;
        driver.requestData();
        driver.dma(kRam, 512);
        console.readRam(kRam, rest.data(), rest.size());
        seen.insert(seen.end(), rest.begin(), rest.end());
    }
    return seen;
}

TEST_F(ExtendedController, SaveStateMidReadContinuesInAFreshProcess) {
    if (std::getenv(kRestoreEnv) != nullptr) {  // the fresh process: load the record and observe
        bringUp();
        std::ifstream in("state.bin", std::ios::binary);
        std::vector<char> record(sizeof(StateRecord));
        ASSERT_TRUE(in.read(record.data(), static_cast<std::streamsize>(record.size())));
        EXPECT_EQ(console_.loadState(*reinterpret_cast<const StateRecord*>(record.data())), 0);
        const Bytes seen = observeAfterState(console_, driver_);
        std::ofstream("restored.bin", std::ios::binary).write(reinterpret_cast<const char*>(seen.data()), seen.size());
        return;
    }
    bringUp();
    ASSERT_TRUE(driver_.command(kCmdSetmode, {0x00}).complete);
    ASSERT_TRUE(driver_.command(kCmdSetloc, {0x00, 0x02, 0x30}).complete);
    ASSERT_TRUE(driver_.command(kCmdReadN).complete);
    ASSERT_TRUE(driver_.nextSector(1024));  // half of the sector's user data pulled through DMA
    driver_.send(kCmdGetStat);              // a command waiting for its step
    console_.advance(1000);
    StateRecord* record = console_.saveState();
    ASSERT_NE(record, nullptr);
    std::ofstream("state.bin", std::ios::binary).write(reinterpret_cast<const char*>(record), sizeof *record);
    std::free(record);
    const Bytes seen = observeAfterState(console_, driver_);
    ASSERT_GT(seen.size(), 32u + 1 + 1024 + 3 * 9);

    const pid_t child = fork();
    if (child == 0) {
        setenv(kRestoreEnv, dir_.c_str(), 1);
        execl("/proc/self/exe", "e2e_tests",
              "--gtest_filter=ExtendedController.SaveStateMidReadContinuesInAFreshProcess", static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    const std::string restored = host::readFile("restored.bin");
    EXPECT_EQ(Bytes(restored.begin(), restored.end()), seen);
}

}  // namespace
}  // namespace lumadisc::e2e
