#include "config/message_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "support/paths.h"

namespace lumadisc {

namespace {

char g_directory[kPathCapacity];
char g_file[kPathCapacity];

}  // namespace

int messageFileInit() { return 0; }
void messageFileShutdown() {}

int messageFileCreate() {
    // A temporary directory too long for both paths leaves them cut; nothing is then written.
    const int length = std::snprintf(g_directory, sizeof g_directory, "%s/%s/%i", tempDirectory(),
                                     kMessageVendorDirectory, processId());
    if (length < 0 || static_cast<size_t>(length) + 1 + std::strlen(kMessageFileName) >= sizeof g_file) {
        g_directory[0] = g_file[0] = '\0';
        return 0;
    }
    std::memcpy(g_file, g_directory, static_cast<size_t>(length));
    g_file[length] = '/';
    std::memcpy(g_file + length + 1, kMessageFileName, std::strlen(kMessageFileName) + 1);
    makeDirectories(g_directory);
    if (FILE* file = std::fopen(g_file, "w+")) std::fclose(file);
    return 0;
}

void messageFileRemove() {
    if (g_file[0] != '\0') unlink(g_file);
    if (g_directory[0] != '\0') rmdir(g_directory);
}

void messageWrite(const char* format, ...) {
    struct stat status {};
    if (g_file[0] == '\0' || stat(g_file, &status) != 0 || status.st_size >= kMessageFileLimit) return;
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    // Appending never creates the file (a reader that deleted it has asked for silence), and each
    // line goes to the end as the file stands then, even when a reader has just emptied it.
    const int fd = open(g_file, O_WRONLY | O_APPEND | O_CLOEXEC);
    if (fd < 0) return;
    const ssize_t written = write(fd, text, std::strlen(text));
    (void)written;  // a line that cannot be written is dropped like one over the limit
    close(fd);
}

const char* messageFilePath() { return g_file; }

}  // namespace lumadisc
