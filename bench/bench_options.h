// What every benchmark program takes on its command line: [PLUGIN] [--sectors N] [--rounds R].
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "host/scratch_dir.h"

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

}  // namespace lumadisc::bench
