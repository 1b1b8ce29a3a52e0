// controller_bench: a ReadN of many sectors through the plugin's extended face, driven by the emulated
// console as its firmware would (data-ready interrupt, response read, acknowledgement, data request,
// DMA of 2048 bytes into RAM, clock run to the next sector), against a plain CDRreadTrack +
// CDRgetBuffer loop of the classic face over the same image, measured in the same run.
//
// usage: controller_bench [PLUGIN] [--sectors N] [--rounds R]
//   PLUGIN defaults to $LUMADISC_PLUGIN, else liblumadisc.so beside this program.
//   N (default 100000, about 235 MB) sectors in one data track; R (default 3) rounds, best ratio kept.
// The image lives in a scratch directory under $TMPDIR (or /tmp) and is removed at the end. The
// figure is sectors per second of the whole exchange: the plugin's port handlers, events, sector
// fetch and DMA, plus the emulated console's own bookkeeping (event queue, RAM copy-out).
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "bench/bench_options.h"
#include "host/classic_host.h"
#include "host/console_driver.h"
#include "host/console_host.h"
#include "host/scratch_dir.h"
#include "tools/fixtures/cue_image.h"
#include "tools/fixtures/ini_file.h"

namespace {

using namespace lumadisc;
using Clock = std::chrono::steady_clock;

using bench::Options;
using bench::parseOptions;

// A Mode 2 Form 1 header and subheader, then a fill that depends on the lba.
void benchSector(Lba lba, int32_t, fixtures::Sector& sector) {
    std::memset(sector.data(), static_cast<int>(lba * 37 + 11) & 0xFF, sector.size());
    writeSectorHeader(sector.data(), lba, 2);
    std::memset(sector.data() + 16, 0, 8);
    sector[16 + 2] = sector[16 + 6] = 0x08;  // submode: data
}

double seconds(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// Sectors per second of CDRreadTrack + CDRgetBuffer over [0, count); 0 on failure.
double classicLoop(const std::string& plugin, int32_t count, uint64_t* sum) {
    host::ClassicHost host;
    if (!host.load(plugin)) {
        std::fprintf(stderr, "controller_bench: cannot load %s: %s\n", plugin.c_str(), host.error().c_str());
        return 0;
    }
    const auto& api = host.api();
    api.init();
    if (api.open() != 0) {
        std::fprintf(stderr, "controller_bench: CDRopen failed\n");
        api.shutdown();
        return 0;
    }
    bool failed = false;
    const auto start = Clock::now();
    for (int32_t lba = 0; lba < count && !failed; ++lba) {
        const Msf bcd = bcdMsf(msfFromLba(lba));
        unsigned char time[3] = {bcd.minute, bcd.second, bcd.frame};
        failed = api.readTrack(time) != 0;
        const unsigned char* buffer = api.getBuffer();
        *sum += buffer[3] + buffer[100];
    }
    const double rate = count / seconds(start);
    api.close();
    api.shutdown();
    return failed ? 0 : rate;
}

// Sectors per second of one ReadN from LBA 0 over count sectors, each pulled by DMA; 0 on failure.
double controllerLoop(const std::string& plugin, int32_t count, uint64_t* sum, uint64_t* ticks) {
    auto console = std::make_unique<host::ConsoleHost>();
    console->setCddaRecorder(0, 1000);
    if (!console->load(plugin)) {
        std::fprintf(stderr, "controller_bench: cannot load %s: %s\n", plugin.c_str(), console->error().c_str());
        return 0;
    }
    console->init();
    if (console->open() != 0) {
        std::fprintf(stderr, "controller_bench: Open failed\n");
        return 0;
    }
    console->start();
    host::ConsoleDriver driver(*console);
    driver.setTracing(false);
    driver.command(host::kCmdSetmode, {0x80});
    driver.command(host::kCmdSetloc, {0x00, 0x02, 0x00});
    if (driver.command(host::kCmdReadN).bytes().empty()) {
        std::fprintf(stderr, "controller_bench: ReadN gave no response\n");
        return 0;
    }
    const uint64_t firstTick = console->now();
    int32_t delivered = 0;
    const auto start = Clock::now();
    for (; delivered < count; ++delivered) {
        const std::optional<host::SectorData> sector = driver.nextSector(2048);
        if (!sector || sector->data.size() != 2048) break;
        *sum += sector->data[0] + sector->data[2047];
    }
    const double elapsed = seconds(start);
    *ticks = console->now() - firstTick;
    driver.command(host::kCmdPause);
    console->stop();
    console.reset();
    if (delivered != count) {
        std::fprintf(stderr, "controller_bench: the read stopped after %d sectors\n", delivered);
        return 0;
    }
    return count / elapsed;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    options.sectors = 100000;
    if (!parseOptions(argc, argv, &options)) {
        std::fprintf(stderr, "usage: controller_bench [PLUGIN] [--sectors N] [--rounds R]\n");
        return 2;
    }
    host::ScratchDir scratch("lumadisc-bench");
    fixtures::CueImage image;
    if (!bench::writeBenchImage("controller_bench", options, scratch, benchSector, &image)) return 1;
    std::string error;
    fixtures::PluginIni settings;
    settings.current = image.cuePath;
    settings.playCdda = false;  // no streaming thread beside the reads
    settings.caching = false;   // both faces read every sector from the file
    if (!fixtures::writePluginIni(scratch.path(), settings, &error)) {
        std::fprintf(stderr, "controller_bench: %s\n", error.c_str());
        return 1;
    }
    if (!scratch.enter()) {
        std::fprintf(stderr, "controller_bench: cannot enter %s\n", scratch.path().c_str());
        return 1;
    }

    uint64_t sum = 0, ticks = 0;
    classicLoop(options.plugin, options.sectors, &sum);  // brings the image into the page cache
    double bestRatio = 0, bestController = 0, bestClassic = 0;
    for (int round = 0; round < options.rounds; ++round) {
        const double classic = classicLoop(options.plugin, options.sectors, &sum);
        const double controller = controllerLoop(options.plugin, options.sectors, &sum, &ticks);
        if (classic <= 0 || controller <= 0) return 1;
        std::printf("round %d: ReadN %.0f sectors/s, CDRreadTrack %.0f sectors/s, ratio %.3f\n", round + 1,
                    controller, classic, controller / classic);
        if (controller / classic > bestRatio) {
            bestRatio = controller / classic;
            bestController = controller;
            bestClassic = classic;
        }
    }
    scratch.leave();

    std::printf("\n%-34s %14s\n", "run (best ratio of the rounds)", "sectors/s");
    std::printf("%-34s %14.0f\n", "ReadN + data request + DMA", bestController);
    std::printf("%-34s %14.0f\n", "CDRreadTrack + CDRgetBuffer", bestClassic);
    std::printf("%-34s %14.3f\n", "ratio", bestRatio);
    const double consoleSeconds = ticks / 33868800.0;
    std::printf("one ReadN spans %.1f s of console time (%llu ticks at 33.8688 MHz): %.0fx the console's pace\n",
                consoleSeconds, static_cast<unsigned long long>(ticks),
                consoleSeconds > 0 ? bestController / (options.sectors / consoleSeconds) : 0);
    std::printf("(checksum %llu)\n", static_cast<unsigned long long>(sum));
    return 0;
}
