// audio_bench: CPU time of the CD audio player per second of audio, through the plugin's classic face
// (CDRplay) with OpenAL Soft's null backend, which consumes sound in real time and writes nothing.
// The baseline, measured in the same run on the same file, is a plain loop that reads the same
// sectors with fread and mixes them to mono; the figure is the ratio of the two CPU times.
//
// usage: audio_bench [PLUGIN] [--sectors N] [--rounds R]
//   PLUGIN defaults to $LUMADISC_PLUGIN, else liblumadisc.so beside this program.
//   N (default 300, four seconds) sectors are played in real time per round; R (default 2) rounds,
//   the lowest ratio kept.
//
// Figures:
//   streaming thread   CPU of the player's own thread ("lumadisc-cdda", from /proc schedstat)
//   whole process      CPU of the process while playing: the thread, OpenAL's mixer, the idle host
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "bench/bench_options.h"
#include "host/classic_host.h"
#include "host/scratch_dir.h"
#include "tools/fixtures/cue_image.h"
#include "tools/fixtures/ini_file.h"

namespace {

using namespace lumadisc;
using Clock = std::chrono::steady_clock;
constexpr double kSectorsPerSecond = 75.0;

double threadCpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return t.tv_sec + t.tv_nsec / 1e9;
}

double processCpuSeconds() {
    rusage r{};
    getrusage(RUSAGE_SELF, &r);
    return r.ru_utime.tv_sec + r.ru_stime.tv_sec + (r.ru_utime.tv_usec + r.ru_stime.tv_usec) / 1e6;
}

// CPU seconds of the thread of this process with the given name, or -1 when there is none.
double namedThreadCpuSeconds(const std::string& name) {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string comm;
        std::getline(std::ifstream(task.path() / "comm"), comm);
        if (comm != name) continue;
        unsigned long long nanoseconds = 0;
        std::ifstream(task.path() / "schedstat") >> nanoseconds;
        return nanoseconds / 1e9;
    }
    return -1;
}

// CPU seconds per second of audio of reading sectors [first, first + count) with fread and mixing
// them to mono, repeated until a quarter of a second of CPU has been spent.
double plainLoop(const std::string& binPath, Lba first, int32_t count, uint64_t* sum) {
    FILE* file = std::fopen(binPath.c_str(), "rb");
    if (!file) return 0;
    std::vector<uint8_t> sector(kRawSectorSize);
    const double start = threadCpuSeconds();
    int64_t done = 0;
    while (threadCpuSeconds() - start < 0.25) {
        for (Lba lba = first; lba < first + count; ++lba, ++done) {
            std::fseek(file, static_cast<long>(lba) * kRawSectorSize, SEEK_SET);
            if (std::fread(sector.data(), 1, sector.size(), file) != sector.size()) break;
            for (size_t i = 0; i < sector.size(); i += 4) {
                const int32_t left = static_cast<int16_t>(sector[i] | sector[i + 1] << 8);
                const int32_t right = static_cast<int16_t>(sector[i + 2] | sector[i + 3] << 8);
                const int32_t mixed = std::clamp((left + right) * 100 / 100, -32768, 32767);
                sector[i] = sector[i + 2] = static_cast<uint8_t>(mixed & 0xFF);
                sector[i + 1] = sector[i + 3] = static_cast<uint8_t>((mixed >> 8) & 0xFF);
            }
            *sum += sector[100];
        }
    }
    const double cpu = threadCpuSeconds() - start;
    std::fclose(file);
    return done > 0 ? cpu / (done / kSectorsPerSecond) : 0;
}

struct Run {
    double thread = 0;   // CPU seconds per second of audio
    double process = 0;
    double sectorsPerSecond = 0;
};

bool play(host::ClassicHost& host, Lba start, int32_t sectors, Run* run) {
    const auto& api = host.api();
    api.init();
    if (api.open() != 0) {
        api.shutdown();
        return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));  // the device is up and streaming
    const Msf at = msfFromLba(start);
    unsigned char time[3] = {at.minute, at.second, at.frame};
    const double thread0 = namedThreadCpuSeconds("lumadisc-cdda"), process0 = processCpuSeconds();
    const auto wall0 = Clock::now();
    api.play(time);
    std::this_thread::sleep_for(std::chrono::duration<double>(sectors / kSectorsPerSecond));
    const double thread1 = namedThreadCpuSeconds("lumadisc-cdda"), process1 = processCpuSeconds();
    const double wall = std::chrono::duration<double>(Clock::now() - wall0).count();
    CdrStat status{};
    api.getStatus(&status);
    const Lba reached = lbaFromMsf(binaryFromBcd(status.Time[0]), binaryFromBcd(status.Time[1]),
                                   binaryFromBcd(status.Time[2]));
    api.stop();
    api.close();
    api.shutdown();
    if (thread0 < 0 || thread1 < 0) return false;
    run->thread = (thread1 - thread0) / wall;
    run->process = (process1 - process0) / wall;
    run->sectorsPerSecond = (reached - start) / wall;
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    bench::Options options;
    options.sectors = 300;
    options.rounds = 2;
    if (!bench::parseOptions(argc, argv, &options)) {
        std::fprintf(stderr, "usage: audio_bench [PLUGIN] [--sectors N] [--rounds R]\n");
        return 2;
    }
    host::ScratchDir scratch("lumadisc-bench");
    if (!scratch.ok()) {
        std::fprintf(stderr, "audio_bench: cannot create a scratch directory\n");
        return 1;
    }
    std::ofstream(scratch.file("alsoft.conf")) << "[general]\ndrivers = null\n";
    setenv("ALSOFT_CONF", scratch.file("alsoft.conf").c_str(), 1);

    fixtures::CueImageBuilder builder;
    const fixtures::Tone tone{1000.0, 12000, 1500.0};
    builder.addAudioTrack(options.sectors + 150, [tone](Lba, int32_t n, fixtures::Sector& sector) {
        sector = fixtures::toneSector(tone, n);
    });
    fixtures::CueImage image;
    std::string error;
    fixtures::PluginIni settings;
    settings.current = scratch.file("bench.cue");
    settings.playCdda = true;
    if (!builder.write(scratch.path(), "bench", &image, &error) ||
        !fixtures::writePluginIni(scratch.path(), settings, &error)) {
        std::fprintf(stderr, "audio_bench: %s\n", error.c_str());
        return 1;
    }
    host::ClassicHost host;
    if (!host.load(options.plugin)) {
        std::fprintf(stderr, "audio_bench: cannot load %s: %s\n", options.plugin.c_str(), host.error().c_str());
        return 1;
    }
    if (!scratch.enter()) {
        std::fprintf(stderr, "audio_bench: cannot enter %s\n", scratch.path().c_str());
        return 1;
    }
    std::printf("plugin:  %s\n", options.plugin.c_str());
    std::printf("audio:   %d sectors (%.1f s) per round, OpenAL Soft null backend\n", options.sectors,
                options.sectors / kSectorsPerSecond);
    std::fflush(stdout);

    uint64_t sum = 0;
    Run best;
    double bestBaseline = 0, bestRatio = 0;
    for (int round = 0; round < options.rounds; ++round) {
        const double baseline = plainLoop(image.binPath, image.trackStarts[0], options.sectors, &sum);
        Run run;
        if (!play(host, image.trackStarts[0], options.sectors, &run)) {
            std::fprintf(stderr, "audio_bench: the plugin could not play (or its thread was not found)\n");
            return 1;
        }
        const double ratio = baseline > 0 ? run.thread / baseline : 0;
        if (round == 0 || ratio < bestRatio) {
            best = run;
            bestBaseline = baseline;
            bestRatio = ratio;
        }
    }
    host.loader().unload();
    scratch.leave();

    std::printf("rounds:  %d (lowest ratio kept; baseline = fread + mono mix of the same sectors, same run)\n\n",
                options.rounds);
    std::printf("%-18s %18s\n", "run", "CPU ms per s audio");
    std::printf("%-18s %18.3f\n", "streaming thread", 1000 * best.thread);
    std::printf("%-18s %18.3f\n", "whole process", 1000 * best.process);
    std::printf("%-18s %18.3f\n", "plain loop", 1000 * bestBaseline);
    std::printf("\nratio streaming thread / plain loop: %.1f\n", bestRatio);
    std::printf("ratio whole process / plain loop:    %.1f\n", bestBaseline > 0 ? best.process / bestBaseline : 0);
    std::printf("playback pace: %.1f sectors/s (real time is 75)\n", best.sectorsPerSecond);
    std::printf("(checksum %llu)\n", static_cast<unsigned long long>(sum));
    return 0;
}
