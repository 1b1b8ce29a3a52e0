#include "support/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace lumadisc {

AtomicFile::~AtomicFile() { discard(); }

bool AtomicFile::begin(const char* path) {
    discard();
    const size_t length = std::strlen(path);
    if (length + 1 > sizeof target_) {
        errno = ENAMETOOLONG;
        return false;
    }
    std::memcpy(target_, path, length + 1);
    std::memcpy(temporary_, path, length);
    std::memcpy(temporary_ + length, ".XXXXXX", 8);
    const int fd = mkstemp(temporary_);
    if (fd < 0) return false;
    // The new file keeps the old one's permissions; a new one gets the usual rw-r--r--.
    struct stat old {};
    fchmod(fd, ::stat(target_, &old) == 0 ? (old.st_mode & 07777) : 0644);
    stream_ = fdopen(fd, "w");
    if (stream_ == nullptr) {
        const int error = errno;
        ::close(fd);
        ::unlink(temporary_);
        errno = error;
        return false;
    }
    return true;
}

bool AtomicFile::commit() {
    if (stream_ == nullptr) {
        errno = EBADF;
        return false;
    }
    bool ok = std::fflush(stream_) == 0 && !std::ferror(stream_) && fsync(fileno(stream_)) == 0;
    int error = errno;
    if (std::fclose(stream_) != 0 && ok) {
        ok = false;
        error = errno;
    }
    stream_ = nullptr;
    if (ok && std::rename(temporary_, target_) != 0) {
        ok = false;
        error = errno;
    }
    if (!ok) {
        ::unlink(temporary_);
        errno = error;
    }
    temporary_[0] = '\0';
    return ok;
}

void AtomicFile::discard() {
    if (stream_ != nullptr) {
        std::fclose(stream_);
        stream_ = nullptr;
    }
    if (temporary_[0] != '\0') {
        const int error = errno;
        ::unlink(temporary_);
        errno = error;
        temporary_[0] = '\0';
    }
}

}  // namespace lumadisc
