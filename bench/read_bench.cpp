// read_bench: sequential sector reads through the plugin (CDRreadTrack + CDRgetBuffer) over a large
// generated CUE/BIN image, against a plain fseek+fread loop over the same file measured right before
// each plugin run, so that the figures are ratios taken on the same machine state.
//
// usage: read_bench [PLUGIN] [--sectors N] [--rounds R]
//   PLUGIN defaults to $LUMADISC_PLUGIN, else liblumadisc.so beside this program.
//   N (default 90000, about 212 MB) sectors in one data track; R (default 3) rounds, best kept.
// The image lives in a scratch directory under $TMPDIR (or /tmp) and is removed at the end.
//
// Runs, each against its own baseline:
//   caching off   every sector read from the file
//   cache cold    caching on with cachinglevel 100000, first pass (every sector missed and stored)
//   cache warm    second pass of the same open disc, over the first min(N, 100000) sectors, all cached
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "bench/bench_options.h"
#include "host/classic_host.h"
#include "host/scratch_dir.h"
#include "tools/fixtures/cue_image.h"
#include "tools/fixtures/ini_file.h"

namespace {

using namespace lumadisc;
using Clock = std::chrono::steady_clock;

constexpr int32_t kWarmCacheLevel = 100000;  // the largest cachinglevel the plugin accepts

using bench::Options;
using bench::parseOptions;

// Cheap distinct content: the sector's header and a fill that depends on the lba.
void benchSector(Lba lba, int32_t, fixtures::Sector& sector) {
    std::memset(sector.data(), static_cast<int>(lba * 37 + 11) & 0xFF, sector.size());
    writeSectorHeader(sector.data(), lba, 2);
}

double seconds(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// Sectors per second of the plain loop over sectors [0, count); *sum keeps the reads observable.
double plainLoop(const std::string& binPath, int32_t count, uint64_t* sum) {
    FILE* file = std::fopen(binPath.c_str(), "rb");
    if (!file) return 0;
    std::vector<uint8_t> sector(kRawSectorSize);
    const auto start = Clock::now();
    for (int32_t lba = 0; lba < count; ++lba) {
        std::fseek(file, static_cast<long>(lba) * kRawSectorSize, SEEK_SET);
        if (std::fread(sector.data(), 1, sector.size(), file) != sector.size()) break;
        *sum += sector[12 + 3] + sector[100];
    }
    const double elapsed = seconds(start);
    std::fclose(file);
    return count / elapsed;
}

struct Figure {
    const char* name;
    const char* target;
    double targetRatio;
    int32_t sectors = 0;
    double plugin = 0;    // sectors per second, best round
    double baseline = 0;  // of the round that gave the best ratio
    double ratio = 0;
    void add(double pluginRate, double baselineRate) {
        const double r = baselineRate > 0 ? pluginRate / baselineRate : 0;
        if (r > ratio) {
            ratio = r;
            plugin = pluginRate;
            baseline = baselineRate;
        }
    }
};

}  // namespace

int main(int argc, char** argv) {
    Options options;
    options.sectors = 90000;
    if (!parseOptions(argc, argv, &options)) {
        std::fprintf(stderr, "usage: read_bench [PLUGIN] [--sectors N] [--rounds R]\n");
        return 2;
    }
    host::ScratchDir scratch("lumadisc-bench");
    fixtures::CueImage image;
    if (!bench::writeBenchImage("read_bench", options, scratch, benchSector, &image)) return 1;
    std::string error;
    host::ClassicHost host;
    if (!host.load(options.plugin)) {
        std::fprintf(stderr, "read_bench: cannot load %s: %s\n", options.plugin.c_str(), host.error().c_str());
        return 1;
    }
    if (!scratch.enter()) {
        std::fprintf(stderr, "read_bench: cannot enter %s\n", scratch.path().c_str());
        return 1;
    }

    const int32_t warmSectors = std::min(options.sectors, kWarmCacheLevel);
    Figure off{"caching off", ">= 0.8", 0.8};
    Figure cold{"cache cold", ">= 0.8", 0.8};
    Figure warm{"cache warm", ">= 1.5", 1.5};
    off.sectors = cold.sectors = options.sectors;
    warm.sectors = warmSectors;
    uint64_t sum = 0;
    bool failed = false;
    plainLoop(image.binPath, options.sectors, &sum);  // brings the whole file into the page cache

    fixtures::PluginIni settings;
    settings.current = image.cuePath;
    settings.enableLogging = false;
    settings.playCdda = false;  // no streaming thread beside the measured reads
    for (int round = 0; round < options.rounds && !failed; ++round) {
        settings.caching = false;
        settings.cachingLevel.reset();
        double base = plainLoop(image.binPath, options.sectors, &sum);
        if (!bench::openDisc("read_bench", host, scratch.path(), settings)) return 1;
        off.add(bench::pluginReadLoop(host.api(), options.sectors, &sum, &failed), base);
        bench::closeDisc(host);

        settings.caching = true;
        settings.cachingLevel = kWarmCacheLevel;
        base = plainLoop(image.binPath, options.sectors, &sum);
        if (!bench::openDisc("read_bench", host, scratch.path(), settings)) return 1;
        cold.add(bench::pluginReadLoop(host.api(), options.sectors, &sum, &failed), base);
        base = plainLoop(image.binPath, warmSectors, &sum);
        warm.add(bench::pluginReadLoop(host.api(), warmSectors, &sum, &failed), base);
        bench::closeDisc(host);
    }
    host.loader().unload();
    scratch.leave();
    if (failed) {
        std::fprintf(stderr, "read_bench: CDRreadTrack failed\n");
        return 1;
    }

    std::printf("rounds:  %d (best ratio of each kept; baseline = plain fseek+fread loop run just before)\n",
                options.rounds);
    std::printf("\n%-12s %9s %14s %14s %7s  %s\n", "run", "sectors", "plugin sect/s", "plain sect/s", "ratio",
                "target");
    for (const Figure* f : {&off, &cold, &warm}) {
        const char* verdict = f->targetRatio == 0 ? "" : f->ratio >= f->targetRatio ? "  met" : "  MISSED";
        std::printf("%-12s %9d %14.0f %14.0f %7.2f  %s%s\n", f->name, f->sectors, f->plugin, f->baseline, f->ratio,
                    f->target, verdict);
    }
    std::printf("(checksum %llu)\n", static_cast<unsigned long long>(sum));
    return 0;
}
