#include "support/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace lumadisc {

namespace {

const char* kindOf(mode_t mode) {
    if (S_ISDIR(mode)) return "a directory, not a file";
    if (S_ISFIFO(mode)) return "a FIFO, not a file";
    if (S_ISSOCK(mode)) return "a socket, not a file";
    if (S_ISCHR(mode) || S_ISBLK(mode)) return "a device, not a file";
    return "not a regular file";
}

}  // namespace

int openRegularFile(const char* path, std::string* why) {
    // O_NONBLOCK: opening a FIFO without a writer returns at once; it is then refused by its type.
    int fd;
    do {
        fd = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        if (why) *why = std::strerror(errno);
        return -1;
    }
    struct stat status {};
    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        if (why) *why = kindOf(status.st_mode);
        ::close(fd);
        return -1;
    }
    const int flags = fcntl(fd, F_GETFL);
    if (flags >= 0) fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
    return fd;
}

bool isReadableRegularFile(const char* path, std::string* why) {
    const int fd = openRegularFile(path, why);
    if (fd < 0) return false;
    ::close(fd);
    return true;
}

}  // namespace lumadisc
