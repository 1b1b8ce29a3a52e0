// catalogue_bench: CDRopen through the built plugin with a settings file whose catalogue lists N disc
// entries and N image directories (the lists the settings keep), against the same open with empty
// lists, measured in the same run.
//
// usage: catalogue_bench [PLUGIN] [--sectors N] [--rounds R]
//   PLUGIN defaults to $LUMADISC_PLUGIN, else liblumadisc.so beside this program.
//   N (default 10000) entries, R (default 3) rounds; the best of each is kept.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "bench/bench_options.h"
#include "host/classic_host.h"
#include "host/scratch_dir.h"
#include "tools/fixtures/cue_image.h"

namespace {

using namespace lumadisc;
using Clock = std::chrono::steady_clock;

// Seconds for CDRinit + CDRopen + CDRclose + CDRshutdown with `entries` catalogue entries.
double openSeconds(host::ClassicHost& host, const std::string& disc, int32_t entries) {
    std::ofstream ini("configs/lumaDisc.ini");
    ini << "[cd selection]\ncurrent = " << disc << "\n";
    for (int32_t i = 0; i < entries; ++i) ini << "cddev" << i << " = C:\\discs\\set" << i % 97 << "\\game" << i << ".cue\n";
    for (int32_t i = 0; i < entries; ++i) ini << "cdimgdir" << i << " = C:\\images\\" << i << "\n";
    ini << "[cdrom property]\nplaycdda = false\ncaching = false\n";
    ini.close();
    const auto start = Clock::now();
    host.api().init();
    host.api().open();
    host.api().close();
    host.api().shutdown();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
    bench::Options options;
    options.sectors = 10000;
    if (!bench::parseOptions(argc, argv, &options)) return 2;
    host::ScratchDir scratch("lumadisc-catalogue-bench");
    if (!scratch.ok() || !scratch.enter()) return 1;
    std::filesystem::create_directories("configs");
    fixtures::CueImage image;
    std::string error;
    if (!fixtures::CueImageBuilder().addDataTrack(20).write(scratch.path(), "disc", &image, &error)) {
        std::fprintf(stderr, "catalogue_bench: %s\n", error.c_str());
        return 1;
    }
    host::ClassicHost host;
    if (!host.load(options.plugin)) {
        std::fprintf(stderr, "catalogue_bench: %s\n", host.error().c_str());
        return 1;
    }
    double empty = 1e9, full = 1e9;
    for (int round = 0; round < options.rounds; ++round) {
        empty = std::min(empty, openSeconds(host, image.cuePath, 0));
        full = std::min(full, openSeconds(host, image.cuePath, options.sectors));
    }
    std::printf("open with %d catalogue entries and directories: %.3f s; with none: %.3f s; ratio %.1f\n",
                options.sectors, full, empty, full / empty);
    scratch.leave();
    return 0;
}
