// xa_bench: XA audio sectors decoded per second by the plugin, through its extended face, against
// ffmpeg decoding the same stream, measured in the same run.
//
// usage: xa_bench [PLUGIN] [--sectors N] [--rounds R]
//   PLUGIN defaults to $LUMADISC_PLUGIN, else liblumadisc.so beside this program.
//   N (default 20000, about 47 MB, 4.4 minutes of stereo 37800 Hz audio) XA sectors of file 1
//   channel 1 in one data track; R (default 3) rounds, the best of each kept.
// The plugin runs a ReadS over the stream twice per round, driven as a console's firmware drives it
// (data-ready interrupt, acknowledgement, data request, DMA): once with XA audio on, every sector
// decoded and handed to spuPlayCDXA, and once with XA audio off. The difference of the two is the
// time spent decoding, which gives the decoder's own rate. ffmpeg's figure is one whole process
// (start-up excluded, measured on a one-sector stream) demultiplexing the raw sectors, decoding
// them and throwing the PCM away.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "bench/bench_options.h"
#include "host/console_driver.h"
#include "host/console_host.h"
#include "host/scratch_dir.h"
#include "tools/fixtures/cue_image.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/ini_file.h"
#include "tools/fixtures/xa_encoder.h"

namespace {

using namespace lumadisc;
using Clock = std::chrono::steady_clock;

constexpr int kDistinctSectors = 150;  // encoded once (two seconds), repeated over the track

using bench::Options;
using bench::parseOptions;

double seconds(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// Sectors per second of one ReadS over `count` sectors with the given mode; 0 on failure. *blocks gets
// the number of blocks handed to spuPlayCDXA.
double readLoop(const std::string& plugin, int32_t count, uint8_t mode, uint64_t* blocks) {
    auto console = std::make_unique<host::ConsoleHost>();
    if (!console->load(plugin)) {
        std::fprintf(stderr, "xa_bench: cannot load %s: %s\n", plugin.c_str(), console->error().c_str());
        return 0;
    }
    console->init();
    if (console->open() != 0) {
        std::fprintf(stderr, "xa_bench: Open failed\n");
        return 0;
    }
    console->start();
    host::ConsoleDriver driver(*console);
    driver.setTracing(false);
    driver.command(host::kCmdSetfilter, {1, 1});
    driver.command(host::kCmdSetmode, {mode});
    driver.command(host::kCmdSetloc, {0x00, 0x02, 0x00});
    const auto start = Clock::now();
    bool failed = !driver.command(host::kCmdReadS).complete;
    // The console copies the first 1024 blocks it receives and only counts the rest.
    for (int32_t i = 0; i < count && !failed; ++i) failed = !driver.nextSector(2048);
    const double rate = count / seconds(start);
    *blocks = console->xaCount();
    driver.command(host::kCmdPause);
    return failed ? 0 : rate;
}

// Wall seconds of one ffmpeg run over a raw sector file, or a negative value when it fails.
double ffmpegSeconds(const std::string& raw) {
    const std::string command =
        "ffmpeg -hide_banner -loglevel fatal -nostdin -y -f psxstr -i '" + raw + "' -c:a pcm_s16le -f null -";
    const auto start = Clock::now();
    const int status = std::system(command.c_str());
    const double elapsed = seconds(start);
    return status == 0 ? elapsed : -1;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    options.sectors = 20000;
    if (!parseOptions(argc, argv, &options)) {
        std::fprintf(stderr, "usage: xa_bench [PLUGIN] [--sectors N] [--rounds R]\n");
        return 2;
    }
    if (std::system("command -v ffmpeg >/dev/null 2>&1") != 0) {
        std::fprintf(stderr, "xa_bench: ffmpeg is needed as the baseline\n");
        return 1;
    }
    host::ScratchDir scratch("lumadisc-bench");
    if (!scratch.ok()) {
        std::fprintf(stderr, "xa_bench: cannot create a scratch directory\n");
        return 1;
    }
    std::printf("plugin:  %s\n", options.plugin.c_str());
    std::printf("stream:  %d XA sectors, stereo 37800 Hz (%.1f MB) in %s\n", options.sectors,
                options.sectors * double(kRawSectorSize) / 1e6, scratch.path().c_str());
    std::fflush(stdout);

    fixtures::XaEncoder encoder({true, 37800});
    const auto pcm = fixtures::xaTestSignal(fixtures::XaSignal::kTones, int64_t{kDistinctSectors} * 2016, true, 37800);
    std::vector<fixtures::Sector> distinct;
    for (int k = 0; k < kDistinctSectors; ++k)
        distinct.push_back(encoder.sector(k, std::span(pcm).subspan(size_t{4032} * k, 4032), 1, 1));
    fixtures::CueImageBuilder builder;
    builder.addDataTrack(options.sectors, [&distinct](Lba lba, int32_t, fixtures::Sector& sector) {
        sector = distinct[static_cast<size_t>(lba) % distinct.size()];
        writeSectorHeader(sector.data(), lba, 2);
    });
    fixtures::CueImage image;
    std::string error;
    const std::vector<uint8_t> one(distinct[0].begin(), distinct[0].end());
    if (!builder.write(scratch.path(), "bench", &image, &error) ||
        !fixtures::writeBytes(scratch.file("one.raw"), one, &error)) {
        std::fprintf(stderr, "xa_bench: %s\n", error.c_str());
        return 1;
    }
    fixtures::PluginIni settings;
    settings.current = image.cuePath;
    settings.playCdda = false;
    if (!fixtures::writePluginIni(scratch.path(), settings, &error) || !scratch.enter()) {
        std::fprintf(stderr, "xa_bench: cannot prepare %s\n", scratch.path().c_str());
        return 1;
    }

    constexpr uint8_t kXaOn = 0xC8, kXaOff = 0x88;  // double speed, channel filter, with and without XA
    uint64_t blocks = 0;
    double bestOn = 0, bestOff = 0, bestFfmpeg = 1e30, bestStartup = 1e30;
    ffmpegSeconds(image.binPath);  // brings the stream into the page cache
    for (int round = 0; round < options.rounds; ++round) {
        const double on = readLoop(options.plugin, options.sectors, kXaOn, &blocks);
        uint64_t none = 0;
        const double off = readLoop(options.plugin, options.sectors, kXaOff, &none);
        const double ffmpeg = ffmpegSeconds(image.binPath);
        const double startup = ffmpegSeconds(scratch.file("one.raw"));
        if (on <= 0 || off <= 0 || ffmpeg <= 0 || startup <= 0) return 1;
        if (blocks != static_cast<uint64_t>(options.sectors) || none != 0) {
            std::fprintf(stderr, "xa_bench: %llu blocks handed over with XA on, %llu with XA off\n",
                         static_cast<unsigned long long>(blocks), static_cast<unsigned long long>(none));
            return 1;
        }
        std::printf("round %d: ReadS with XA %.0f sectors/s, without %.0f sectors/s, ffmpeg %.3f s (start-up %.3f s)\n",
                    round + 1, on, off, ffmpeg, startup);
        bestOn = std::max(bestOn, on);
        bestOff = std::max(bestOff, off);
        bestFfmpeg = std::min(bestFfmpeg, ffmpeg);
        bestStartup = std::min(bestStartup, startup);
    }
    scratch.leave();

    const double ffmpegRate = options.sectors / std::max(bestFfmpeg - bestStartup, 1e-6);
    const double decodeSeconds = 1 / bestOn - 1 / bestOff;
    const double decoderRate = decodeSeconds > 0 ? 1 / decodeSeconds : 0;
    std::printf("\n%-44s %14s %10s\n", "run (best of the rounds)", "sectors/s", "vs ffmpeg");
    std::printf("%-44s %14.0f %10.2f\n", "plugin: ReadS + XA decoding + spuPlayCDXA", bestOn, bestOn / ffmpegRate);
    std::printf("%-44s %14.0f\n", "plugin: ReadS alone (XA off)", bestOff);
    if (decoderRate > 0) {
        std::printf("%-44s %14.0f %10.2f\n", "plugin: decoding alone (the difference)", decoderRate,
                    decoderRate / ffmpegRate);
    } else {
        std::printf("%-44s %14s\n", "plugin: decoding alone (the difference)", "below noise");
    }
    std::printf("%-44s %14.0f %10.2f\n", "ffmpeg: psxstr demuxer + XA decoder", ffmpegRate, 1.0);
    std::printf("real time is 75 sectors/s; the plugin decodes at %.0fx that pace\n",
                decoderRate > 0 ? decoderRate / 75 : bestOn / 75);
    return 0;
}
