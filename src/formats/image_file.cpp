#include "formats/image_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <new>

#include "config/log.h"
#include "support/regular_file.h"

namespace lumadisc {

ImageFile::~ImageFile() { close(); }

bool ImageFile::open(const char* path) {
    close();
    std::string why;
    fd_ = openRegularFile(path, &why);
    if (fd_ < 0) {
        // A missing file or a directory is the caller's to report; a pipe, socket or device where a file
        // belongs is named here, since no caller expects one.
        if (why.find("FIFO") != std::string::npos || why.find("socket") != std::string::npos ||
            why.find("device") != std::string::npos)
            logWrite(kLogPlugin, "[CDR] Error: %s is %s.\n", path, why.c_str());
        return false;
    }
    path_ = path;
    return true;
}

void ImageFile::close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
    path_.clear();
    readFailed_ = false;
    nextOffset_ = -1;
    windowBytes_ = 0;
}

size_t ImageFile::readAt(int64_t offset, size_t size, uint8_t* buffer) const {
    readFailed_ = false;
    if (fd_ < 0 || size == 0) return 0;
    if (offset < 0 || offset > std::numeric_limits<int32_t>::max()) return 0;
    const bool inOrder = offset == nextOffset_;
    nextOffset_ = offset + static_cast<int64_t>(size);
    const auto held = [&] {
        return windowBytes_ > 0 && offset >= windowStart_ &&
               offset + static_cast<int64_t>(size) <= windowStart_ + static_cast<int64_t>(windowBytes_);
    };
    if (size <= kWindowBytes / 4 && (held() || (inOrder && fillWindow(offset) && held()))) {
        std::memcpy(buffer, window_.get() + (offset - windowStart_), size);
        return size;
    }
    return readDirect(offset, size, buffer);
}

bool ImageFile::fillWindow(int64_t offset) const {
    windowBytes_ = 0;
    if (!window_) window_.reset(new (std::nothrow) uint8_t[kWindowBytes]);
    if (!window_) return false;
    size_t done = 0;
    while (done < kWindowBytes) {
        const ssize_t got = pread(fd_, window_.get() + done, kWindowBytes - done, static_cast<off_t>(offset) + done);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;  // the read itself goes to the file and reports the error
        if (got == 0) break;
        done += static_cast<size_t>(got);
    }
    windowStart_ = offset;
    windowBytes_ = done;
    return done > 0;
}

size_t ImageFile::readDirect(int64_t offset, size_t size, uint8_t* buffer) const {
    size_t done = 0;
    while (done < size) {
        const ssize_t got = pread(fd_, buffer + done, size - done, static_cast<off_t>(offset) + done);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            readFailed_ = true;
            logWrite(kLogPlugin, "[CDR] Error: read failed at byte %lld (%s): %s.\n",
                     static_cast<long long>(offset) + static_cast<long long>(done), path_.c_str(), std::strerror(errno));
            break;
        }
        if (got == 0) break;
        done += static_cast<size_t>(got);
    }
    return done;
}

int64_t ImageFile::sizeOf(const char* path) {
    struct stat status {};
    if (stat(path, &status) != 0) return -1;
    return static_cast<int64_t>(status.st_size);
}

}  // namespace lumadisc
