// What every benchmark program takes on its command line: [PLUGIN] [--sectors N] [--rounds R].
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include <chrono>

#include "host/classic_host.h"
#include "host/scratch_dir.h"
#include "tools/fixtures/cue_image.h"
#include "tools/fixtures/ini_file.h"

namespace lumadisc::bench {

struct Options {
    std::string plugin;  // default: $LUMADISC_PLUGIN, else liblumadisc.so beside the program
    int32_t sectors = 0;
    int rounds = 3;
};

inline std::string besideExecutable(const std::string& name) {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return (error ? std::string(".") : self.parent_path().string()) + "/" + name;
}

// False on a word it does not understand or a count below 1.
inline bool parseOptions(int argc, char** argv, Options* options) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if ((word == "--sectors" || word == "--rounds") && i + 1 < argc) {
            const long value = std::strtol(argv[++i], nullptr, 10);
            if (value < 1) return false;
            if (word == "--sectors") options->sectors = static_cast<int32_t>(value);
            else options->rounds = static_cast<int>(value);
        } else if (word.starts_with("-")) {
            return false;
        } else {
            options->plugin = word;
        }
    }
    if (options->plugin.empty()) {
        const char* env = std::getenv("LUMADISC_PLUGIN");
        options->plugin = env && *env ? env : besideExecutable("liblumadisc.so");
    }
    options->plugin = host::absolutePath(options->plugin);
    return true;
}

// Prints what is measured and writes bench.cue + bench.bin of options.sectors data sectors into
// scratch; false after saying why.
inline bool writeBenchImage(const char* program, const Options& options, const host::ScratchDir& scratch,
                            const fixtures::SectorWriter& content, fixtures::CueImage* image) {
    if (!scratch.ok()) {
        std::fprintf(stderr, "%s: cannot create a scratch directory\n", program);
        return false;
    }
    std::printf("plugin:  %s\n", options.plugin.c_str());
    std::printf("image:   %d sectors (%.1f MB) in %s\n", options.sectors,
                options.sectors * double(kRawSectorSize) / 1e6, scratch.path().c_str());
    std::fflush(stdout);
    fixtures::CueImageBuilder builder;
    builder.addDataTrack(options.sectors, content);
    std::string error;
    if (!builder.write(scratch.path(), "bench", image, &error)) {
        std::fprintf(stderr, "%s: %s\n", program, error.c_str());
        return false;
    }
    return true;
}

// Sectors per second of CDRreadTrack + CDRgetBuffer over sectors [0, count); *sum keeps the reads
// observable, *failed is set when a read fails.
inline double pluginReadLoop(const host::ClassicExports& api, int32_t count, uint64_t* sum, bool* failed) {
    const auto start = std::chrono::steady_clock::now();
    for (int32_t lba = 0; lba < count; ++lba) {
        const Msf bcd = bcdMsf(msfFromLba(lba));
        unsigned char time[3] = {bcd.minute, bcd.second, bcd.frame};
        if (api.readTrack(time) != 0) *failed = true;
        const unsigned char* buffer = api.getBuffer();  // byte 12 of the raw sector
        *sum += buffer[3] + buffer[100 - 12];
    }
    return count / std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Writes the settings into directory and runs CDRinit + CDRopen; false after saying why.
inline bool openDisc(const char* program, host::ClassicHost& host, const std::string& directory,
                     const fixtures::PluginIni& settings) {
    std::string error;
    if (!fixtures::writePluginIni(directory, settings, &error)) {
        std::fprintf(stderr, "%s: %s\n", program, error.c_str());
        return false;
    }
    host.api().init();
    if (host.api().open() != 0) {
        std::fprintf(stderr, "%s: the plugin could not open %s\n", program, settings.current.c_str());
        host.api().shutdown();
        return false;
    }
    return true;
}

inline void closeDisc(host::ClassicHost& host) {
    host.api().close();
    host.api().shutdown();
}

}  // namespace lumadisc::bench
