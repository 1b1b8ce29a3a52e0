// What every benchmark program takes on its command line: [PLUGIN] [--sectors N] [--rounds R].
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "host/scratch_dir.h"
#include "tools/fixtures/cue_image.h"

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

}  // namespace lumadisc::bench
