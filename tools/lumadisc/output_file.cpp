#include "tools/lumadisc/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "tools/lumadisc/cleanup_on_signal.h"

namespace lumadisc::tool {

OutputFile::~OutputFile() { discard(); }

bool OutputFile::fail(const std::string& what, int error) {
    std::fprintf(stderr, "lumadisc: %s %s: %s\n", what.c_str(), target_.c_str(), std::strerror(error));
    discard();
    return false;
}

void OutputFile::discard() {
    if (file_) std::fclose(file_);
    file_ = nullptr;
    if (temporary_.empty()) return;
    unlink(temporary_.c_str());
    forgetOnSignal(temporary_);
    temporary_.clear();
}

bool OutputFile::open() {
    struct stat existing {};
    if (::stat(target_.c_str(), &existing) == 0 && !S_ISREG(existing.st_mode) && !S_ISDIR(existing.st_mode)) {
        direct_ = true;
        file_ = std::fopen(target_.c_str(), "wb");
        return file_ != nullptr || fail("cannot write", errno);
    }
    // Beside the target, so that the rename stays within one file system.
    std::string pattern = target_ + ".partial-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0) return fail("cannot write", errno);
    temporary_ = name.data();
    removeOnSignal(temporary_);
    // mkstemp makes the file private; an output file gets the usual permissions.
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(descriptor, 0666 & ~mask);
    file_ = fdopen(descriptor, "wb");
    if (!file_) {
        const int error = errno;
        close(descriptor);
        return fail("cannot write", error);
    }
    return true;
}

bool OutputFile::write(const void* bytes, size_t size) {
    if (!file_) return false;
    if (std::fwrite(bytes, 1, size, file_) == size) return true;
    return fail("cannot write", errno);
}

bool OutputFile::commit() {
    if (!file_) return false;
    const bool flushed = std::fflush(file_) == 0;
    const int flushError = errno;
    const bool closed = std::fclose(file_) == 0;
    file_ = nullptr;
    if (!flushed || !closed) return fail("cannot write", flushed ? errno : flushError);
    if (direct_) return true;
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) return fail("cannot replace", errno);
    forgetOnSignal(temporary_);
    temporary_.clear();
    return true;
}

}  // namespace lumadisc::tool
