#include "host/scratch_dir.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <vector>

namespace lumadisc::host {

ScratchDir::ScratchDir(const std::string& prefix) {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/" + prefix + "-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (mkdtemp(buffer.data())) path_ = buffer.data();
}

ScratchDir::~ScratchDir() {
    leave();
    if (!path_.empty() && !keep_) removeTree(path_);
}

bool ScratchDir::enter() {
    if (path_.empty()) return false;
    std::error_code error;
    const auto current = std::filesystem::current_path(error);
    if (error) return false;
    if (chdir(path_.c_str()) != 0) return false;
    if (previous_.empty()) previous_ = current.string();
    return true;
}

void ScratchDir::leave() {
    if (previous_.empty()) return;
    if (chdir(previous_.c_str()) != 0) {
        // The previous directory vanished; the root is always there.
        if (chdir("/") != 0) return;
    }
    previous_.clear();
}

bool removeTree(const std::string& path) {
    std::error_code error;
    std::filesystem::remove_all(path, error);
    return !error;
}

std::string absolutePath(const std::string& path) {
    std::error_code error;
    const auto absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.lexically_normal().string();
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return {};
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace lumadisc::host
