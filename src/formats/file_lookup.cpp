#include "formats/file_lookup.h"

#include <strings.h>

#include <filesystem>
#include <system_error>
#include <vector>

namespace lumadisc {

namespace fs = std::filesystem;

namespace {

constexpr int kMaxDirectoryEntries = 100000;  // a bound on the walk through one directory

bool isRegularFile(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(path, error);
}

std::string slashed(std::string name) {
    for (char& c : name) {
        if (c == '\\') c = '/';
    }
    return name;
}

fs::path directoryOf(const std::string& descriptionPath) {
    const fs::path parent = fs::path(descriptionPath).parent_path();
    return parent.empty() ? fs::path(".") : parent;
}

// The entry of directory whose name equals `component` ignoring letter case; empty when none.
fs::path entryNoCase(const fs::path& directory, const std::string& component) {
    std::error_code error;
    fs::directory_iterator it(directory, error);
    int seen = 0;
    for (; !error && it != fs::directory_iterator() && seen < kMaxDirectoryEntries; it.increment(error), ++seen) {
        if (strcasecmp(it->path().filename().c_str(), component.c_str()) == 0) return it->path();
    }
    return {};
}

// Walks the relative path component by component, matching each without regard to case.
fs::path findNoCase(const fs::path& directory, const fs::path& relative) {
    fs::path current = directory;
    for (const fs::path& component : relative) {
        if (component == "." || component.empty()) continue;
        if (component == "..") {
            current /= component;
            continue;
        }
        fs::path next = current / component;
        std::error_code error;
        if (!fs::exists(next, error)) next = entryNoCase(current, component.string());
        if (next.empty()) return {};
        current = next;
    }
    return current;
}

}  // namespace

std::string namedFilePath(const std::string& descriptionPath, const std::string& name) {
    const fs::path named(slashed(name));
    if (named.is_absolute()) return named.string();
    const fs::path parent = fs::path(descriptionPath).parent_path();
    return (parent.empty() ? named : parent / named).string();
}

std::string findNamedFile(const std::string& descriptionPath, const std::string& name) {
    const fs::path named(slashed(name));
    const fs::path directory = directoryOf(descriptionPath);
    const fs::path asWritten(namedFilePath(descriptionPath, name));
    if (isRegularFile(asWritten)) return asWritten.string();
    if (!named.is_absolute()) {
        const fs::path found = findNoCase(directory, named);
        if (!found.empty() && isRegularFile(found)) return found.string();
    }
    if (named.has_filename()) {
        const fs::path found = findNoCase(directory, named.filename());
        if (!found.empty() && isRegularFile(found)) return found.string();
    }
    return {};
}

}  // namespace lumadisc
