// A fresh directory under /tmp that a test works in: the settings and the log use paths relative
// to the working directory. The previous directory is restored and the scratch one removed at the end.
#pragma once

#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace lumadisc::unit {

class ScratchDirectory {
public:
    ScratchDirectory() {
        char previous[PATH_MAX];
        if (getcwd(previous, sizeof previous) != nullptr) previous_ = previous;
        char pattern[] = "/tmp/lumadisc-unit-XXXXXX";
        if (mkdtemp(pattern) != nullptr && chdir(pattern) == 0) path_ = pattern;
    }
    ~ScratchDirectory() {
        if (!previous_.empty() && chdir(previous_.c_str()) != 0) return;
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    bool ok() const { return !path_.empty(); }
    const std::string& path() const { return path_; }

private:
    std::string path_;
    std::string previous_;
};

// The whole content of a file; empty when it cannot be read.
inline std::string readWholeFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeWholeFile(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

inline bool fileExists(const std::string& path) {
    return std::filesystem::exists(path);
}

}  // namespace lumadisc::unit
