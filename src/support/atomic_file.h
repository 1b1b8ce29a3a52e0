// Writing a user's file so that it is either the old file or the whole new one: the text goes to a
// temporary file beside it, which is flushed, synced and renamed over the target. A failure at any
// step removes the temporary file and leaves the target untouched.
#pragma once

#include <cstdio>

namespace lumadisc {

class AtomicFile {
public:
    AtomicFile() = default;
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;
    ~AtomicFile();  // an uncommitted file is discarded

    // Creates the temporary file beside path; false (with errno set) when it cannot be created.
    bool begin(const char* path);
    FILE* stream() const { return stream_; }
    // Flushes, syncs and renames over the target; false (with errno set) when any step fails, the
    // target then untouched.
    bool commit();
    void discard();

private:
    FILE* stream_ = nullptr;
    char target_[4096] = {};
    char temporary_[4096 + 16] = {};
};

}  // namespace lumadisc
