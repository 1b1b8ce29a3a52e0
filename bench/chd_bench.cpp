// chd_bench: sequential sector reads through the plugin (CDRreadTrack + CDRgetBuffer) of one disc as
// a compressed image made by chdman, against the same disc as CUE/BIN read right before in the same
// run, so that the figure is a ratio taken on the same machine state; and the resident memory the
// open compressed image adds to the process.
//
// usage: chd_bench [PLUGIN] [--sectors N] [--rounds R]
//   N (default 30000, about 70 MB) sectors in one data track; R (default 3) rounds, best ratio kept.
// Both reads run with the plugin's sector caches off, so every sector comes from its image.
// The images live in a scratch directory under $TMPDIR (or /tmp) and are removed at the end.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "bench/bench_options.h"
#include "tools/fixtures/chd_image.h"

namespace {

using namespace lumadisc;

// Disc-like content: a third of the sectors incompressible, the rest repetitive file data.
void benchSector(Lba lba, int32_t, fixtures::Sector& sector) {
    if (lba % 3 == 0) {
        sector = fixtures::mixedDataSector(lba);
        return;
    }
    uint8_t user[kForm1UserSize];
    for (int i = 0; i < kForm1UserSize; ++i) user[i] = static_cast<uint8_t>("lumaDisc sector text "[i % 21] + lba % 7);
    sector = fixtures::form1Sector(lba, user);
}

long residentKb() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
    }
    return 0;
}

long fileKb(const std::string& path) {
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    return static_cast<long>(in.tellg() / 1024);
}

}  // namespace

int main(int argc, char** argv) {
    bench::Options options;
    options.sectors = 30000;
    if (!bench::parseOptions(argc, argv, &options)) {
        std::fprintf(stderr, "usage: chd_bench [PLUGIN] [--sectors N] [--rounds R]\n");
        return 2;
    }
    if (!fixtures::chdmanInstalled()) {
        std::fprintf(stderr, "chd_bench: chdman (mame-tools) is not installed\n");
        return 1;
    }
    host::ScratchDir scratch("lumadisc-chd-bench");
    fixtures::CueImage image;
    if (!bench::writeBenchImage("chd_bench", options, scratch, benchSector, &image)) return 1;
    const std::string chd = scratch.file("bench.chd");
    std::string error;
    if (!fixtures::writeChd(image.cuePath, chd, {}, &error)) {
        std::fprintf(stderr, "chd_bench: %s\n", error.c_str());
        return 1;
    }
    std::printf("chd:     %ld KB (bin %ld KB), chdman's default codecs and 8-frame hunks\n", fileKb(chd),
                fileKb(image.binPath));
    host::ClassicHost host;
    if (!host.load(options.plugin) || !scratch.enter()) {
        std::fprintf(stderr, "chd_bench: cannot load %s: %s\n", options.plugin.c_str(), host.error().c_str());
        return 1;
    }
    fixtures::PluginIni settings;
    settings.enableLogging = false;
    settings.playCdda = false;
    settings.caching = false;
    uint64_t sum = 0;
    bool failed = false;
    double bestRatio = 0, bestChd = 0, bestCue = 0;
    long residentBefore = 0, residentOpen = 0, residentRead = 0;
    for (int round = 0; round < options.rounds && !failed; ++round) {
        settings.current = image.cuePath;
        if (!bench::openDisc("chd_bench", host, scratch.path(), settings)) return 1;
        const double cue = bench::pluginReadLoop(host.api(), options.sectors, &sum, &failed);
        bench::closeDisc(host);

        settings.current = chd;
        residentBefore = residentKb();
        if (!bench::openDisc("chd_bench", host, scratch.path(), settings)) return 1;
        residentOpen = residentKb();
        const double compressed = bench::pluginReadLoop(host.api(), options.sectors, &sum, &failed);
        residentRead = residentKb();
        bench::closeDisc(host);
        if (cue > 0 && compressed / cue > bestRatio) {
            bestRatio = compressed / cue;
            bestChd = compressed;
            bestCue = cue;
        }
    }
    host.loader().unload();
    scratch.leave();
    if (failed) {
        std::fprintf(stderr, "chd_bench: CDRreadTrack failed\n");
        return 1;
    }
    std::printf("rounds:  %d (best ratio kept; caching off for both)\n\n", options.rounds);
    std::printf("%-10s %14s\n", "image", "sectors/s");
    std::printf("%-10s %14.0f\n%-10s %14.0f\n", "cue/bin", bestCue, "chd", bestChd);
    std::printf("ratio chd/cue: %.3f\n", bestRatio);
    std::printf("resident:  %ld KB before the open, +%ld KB open, +%ld KB after reading every sector\n",
                residentBefore, residentOpen - residentBefore, residentRead - residentBefore);
    std::printf("(checksum %llu)\n", static_cast<unsigned long long>(sum));
    return 0;
}
