// A throwaway working directory: the plugin reads ./configs/lumaDisc.ini and writes ./lumaDisc.log
// relative to the working directory, so a host that must not touch the user's files works in one.
#pragma once

#include <string>

namespace lumadisc::host {

class ScratchDir {
public:
    // Creates a fresh directory under $TMPDIR (or /tmp) named after prefix.
    explicit ScratchDir(const std::string& prefix = "lumadisc");
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    bool ok() const { return !path_.empty(); }
    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }
    // Makes it the working directory until leave() or destruction; false when it cannot.
    bool enter();
    void leave();
    // Keeps the directory when destroyed (for inspection).
    void keep() { keep_ = true; }

private:
    std::string path_;
    std::string previous_;
    bool keep_ = false;
};

// Removes a directory tree; false when something could not be removed.
bool removeTree(const std::string& path);
// Absolute form of a path relative to the current working directory.
std::string absolutePath(const std::string& path);
// The whole content of a file, or empty when it cannot be read.
std::string readFile(const std::string& path);

}  // namespace lumadisc::host
