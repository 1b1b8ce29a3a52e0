#include "formats/image_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <limits>

#include "config/log.h"

namespace lumadisc {

ImageFile::~ImageFile() { close(); }

bool ImageFile::open(const char* path) {
    close();
    do {
        fd_ = ::open(path, O_RDONLY | O_CLOEXEC);
    } while (fd_ < 0 && errno == EINTR);
    if (fd_ < 0) return false;
    path_ = path;
    struct stat status {};
    if (fstat(fd_, &status) != 0 || S_ISDIR(status.st_mode)) {
        close();
        return false;
    }
    return true;
}

void ImageFile::close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
    path_.clear();
    readFailed_ = false;
}

size_t ImageFile::readAt(int64_t offset, size_t size, uint8_t* buffer) const {
    readFailed_ = false;
    if (fd_ < 0) return 0;
    if (offset < 0 || offset > std::numeric_limits<int32_t>::max()) return 0;
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
