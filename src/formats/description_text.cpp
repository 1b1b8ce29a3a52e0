#include "formats/description_text.h"

#include <sys/stat.h>

#include <cstdio>

#include "config/log.h"

namespace lumadisc {

bool readDescriptionText(const char* path, int64_t maxBytes, std::string& text,
                         const std::function<void(const std::string&)>& refuse) {
    text.clear();
    struct stat status {};
    if (stat(path, &status) != 0) {
        logWrite(kLogPlugin, "[CDR] Error: toc not opened (%s).\n", path);
        return false;
    }
    if (S_ISDIR(status.st_mode)) {
        refuse("a directory, not a file");
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        refuse("not a regular file");
        return false;
    }
    if (status.st_size > maxBytes) {
        refuse("larger than " + std::to_string(maxBytes / 1024) + " KB, not a description");
        return false;
    }
    FILE* file = std::fopen(path, "rb");
    if (file == nullptr) {
        logWrite(kLogPlugin, "[CDR] Error: toc not opened (%s).\n", path);
        return false;
    }
    char chunk[65536];
    size_t got;
    // The size may have grown since stat: the bound holds for what is read.
    while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0 && static_cast<int64_t>(text.size()) <= maxBytes)
        text.append(chunk, got);
    std::fclose(file);
    if (static_cast<int64_t>(text.size()) > maxBytes) {
        refuse("larger than " + std::to_string(maxBytes / 1024) + " KB, not a description");
        return false;
    }
    return true;
}

}  // namespace lumadisc
