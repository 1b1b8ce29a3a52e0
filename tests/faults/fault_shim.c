/* Faults at the operating-system boundary, preloaded into a host that runs the real plugin code:
 * reads of one file failing with a chosen error or coming back short, the settings save's sync or
 * temporary file failing (or the process killed in the middle of the save), the log refused.
 * Configured by environment variables, read at each call:
 *   LUMADISC_FAULT_FILE        a part of the path of the file whose reads fail
 *   LUMADISC_FAULT_READ        "FIRST:LAST:ERRNO": a pread touching bytes FIRST..LAST fails with ERRNO
 *                              (LAST -1: to the end of the file)
 *   LUMADISC_FAULT_SHORT       "1": every pread of the file returns at most half of what was asked
 *   LUMADISC_FAULT_SYNC        ERRNO: fsync of a file under "configs/" fails; "kill": the process is
 *                              killed there, after the new text was written and before the rename
 *   LUMADISC_FAULT_TEMPFILE    ERRNO: creating a temporary file fails
 *   LUMADISC_FAULT_LOG         ERRNO: opening "lumaDisc.log" fails */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>
#include <unistd.h>

static int pathOfFd(int fd, char* out, size_t size) {
    char link[64];
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t n = readlink(link, out, size - 1);
    if (n < 0) return 0;
    out[n] = '\0';
    return 1;
}

static int fdMatches(int fd, const char* part) {
    char path[4096];
    return part != NULL && *part != '\0' && pathOfFd(fd, path, sizeof path) && strstr(path, part) != NULL;
}

typedef ssize_t (*PreadFn)(int, void*, size_t, off_t);

static ssize_t faultyPread(PreadFn real, int fd, void* buffer, size_t count, off_t offset) {
    if (fdMatches(fd, getenv("LUMADISC_FAULT_FILE"))) {
        const char* range = getenv("LUMADISC_FAULT_READ");
        long long first = 0, last = 0;
        int error = 0;
        if (range != NULL && sscanf(range, "%lld:%lld:%d", &first, &last, &error) == 3) {
            const long long end = (long long)offset + (long long)count - 1;
            if (end >= first && (last < 0 || (long long)offset <= last)) {
                errno = error;
                return -1;
            }
        }
        const char* shortReads = getenv("LUMADISC_FAULT_SHORT");
        if (shortReads != NULL && strcmp(shortReads, "1") == 0 && count > 1) count /= 2;
    }
    return real(fd, buffer, count, offset);
}

ssize_t pread(int fd, void* buffer, size_t count, off_t offset) {
    static PreadFn real = NULL;
    if (real == NULL) real = (PreadFn)dlsym(RTLD_NEXT, "pread");
    return faultyPread(real, fd, buffer, count, offset);
}

ssize_t pread64(int fd, void* buffer, size_t count, off_t offset) {
    static PreadFn real = NULL;
    if (real == NULL) real = (PreadFn)dlsym(RTLD_NEXT, "pread64");
    return faultyPread(real, fd, buffer, count, offset);
}

int fsync(int fd) {
    static int (*real)(int) = NULL;
    if (real == NULL) real = (int (*)(int))dlsym(RTLD_NEXT, "fsync");
    const char* fault = getenv("LUMADISC_FAULT_SYNC");
    if (fault != NULL && fdMatches(fd, "configs/")) {
        if (strcmp(fault, "kill") == 0) raise(SIGKILL);
        errno = atoi(fault);
        return -1;
    }
    return real(fd);
}

static int tempFileFault(void) {
    const char* fault = getenv("LUMADISC_FAULT_TEMPFILE");
    if (fault == NULL) return 0;
    errno = atoi(fault);
    return 1;
}

int mkstemp(char* pattern) {
    static int (*real)(char*) = NULL;
    if (real == NULL) real = (int (*)(char*))dlsym(RTLD_NEXT, "mkstemp");
    if (tempFileFault()) return -1;
    return real(pattern);
}

int mkstemp64(char* pattern) {
    static int (*real)(char*) = NULL;
    if (real == NULL) real = (int (*)(char*))dlsym(RTLD_NEXT, "mkstemp64");
    if (tempFileFault()) return -1;
    return real(pattern);
}

typedef FILE* (*FopenFn)(const char*, const char*);

static FILE* faultyFopen(FopenFn real, const char* path, const char* mode) {
    const char* fault = getenv("LUMADISC_FAULT_LOG");
    const size_t length = path != NULL ? strlen(path) : 0;
    if (fault != NULL && length >= 12 && strcmp(path + length - 12, "lumaDisc.log") == 0) {
        errno = atoi(fault);
        return NULL;
    }
    return real(path, mode);
}

FILE* fopen(const char* path, const char* mode) {
    static FopenFn real = NULL;
    if (real == NULL) real = (FopenFn)dlsym(RTLD_NEXT, "fopen");
    return faultyFopen(real, path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    static FopenFn real = NULL;
    if (real == NULL) real = (FopenFn)dlsym(RTLD_NEXT, "fopen64");
    return faultyFopen(real, path, mode);
}

/* The log is also opened by descriptor (without blocking, then checked to be a file). */
typedef int (*OpenFn)(const char*, int, ...);

static int faultyOpen(const char* name, const char* path, int flags, mode_t mode) {
    const char* fault = getenv("LUMADISC_FAULT_LOG");
    const size_t length = path != NULL ? strlen(path) : 0;
    if (fault != NULL && length >= 12 && strcmp(path + length - 12, "lumaDisc.log") == 0) {
        errno = atoi(fault);
        return -1;
    }
    OpenFn real = (OpenFn)dlsym(RTLD_NEXT, name);
    return real(path, flags, mode);
}

/* The mode argument is there only with O_CREAT. */
#define MODE_OF(flags, mode)                              \
    do {                                                  \
        if ((flags) & O_CREAT) {                          \
            va_list arguments;                            \
            va_start(arguments, flags);                   \
            (mode) = (mode_t)va_arg(arguments, int);      \
            va_end(arguments);                            \
        }                                                 \
    } while (0)

int open(const char* path, int flags, ...) {
    mode_t mode = 0;
    MODE_OF(flags, mode);
    return faultyOpen("open", path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    mode_t mode = 0;
    MODE_OF(flags, mode);
    return faultyOpen("open64", path, flags, mode);
}
