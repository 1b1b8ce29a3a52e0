// A file the tool writes as a whole or not at all: the bytes go to a temporary name beside the target,
// which is renamed over the target on commit and removed otherwise (also when the tool is stopped).
// A target that exists and is not a regular file (/dev/null, a pipe, a terminal) is written directly:
// it is never replaced.
#pragma once

#include <cstdio>
#include <string>

namespace lumadisc::tool {

class OutputFile {
public:
    explicit OutputFile(std::string target) : target_(std::move(target)) {}
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Creates the temporary file; false after saying why.
    bool open();
    // False after saying why.
    bool write(const void* bytes, size_t size);
    // Flushes, closes and renames the temporary file to the target; false after saying why.
    bool commit();

private:
    bool fail(const std::string& what, int error);
    void discard();

    std::string target_;
    std::string temporary_;
    FILE* file_ = nullptr;
    bool direct_ = false;
};

}  // namespace lumadisc::tool
