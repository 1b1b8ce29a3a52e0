// The path helpers: extension replacement, trailing separators, directory and file name, endings.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <string>

#include "scratch_directory.h"
#include "support/paths.h"

namespace lumadisc {
namespace {

// Runs an in-place edit on a buffer of exactly `capacity` bytes followed by guard bytes.
struct Guarded {
    explicit Guarded(const char* text) {
        std::memset(buffer, '#', sizeof buffer);
        std::strcpy(buffer, text);
    }
    bool guardIntact(size_t capacity) const {
        for (size_t i = capacity; i < sizeof buffer; ++i) {
            if (buffer[i] != '#') return false;
        }
        return true;
    }
    char buffer[64];
};

TEST(Paths, ReplaceExtension) {
    struct Case { const char* path; size_t capacity; const char* extension; int result; const char* expected; };
    const Case cases[] = {
        {"C:\\games\\disc.cue", 32, ".bin", 0, "C:\\games\\disc.bin"},
        {"C:\\my.games\\disc", 32, ".sub", 0, "C:\\my.sub"},  // the last dot is in the directory
        {"disc", 32, ".ppf", 0, "disc.ppf"},
        {"a.cue", 6, ".bin", 0, "a.bin"},     // exactly fits with its terminator
        {"a.c", 5, ".bin", -1, "a.c"},        // one byte short: unchanged
        {"disc", 8, ".ppf", -1, "disc"},
        {"d.x", 8, ".longer", -1, "d.x"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        Guarded g(c.path);
        EXPECT_EQ(replaceExtension(g.buffer, c.capacity, c.extension), c.result);
        EXPECT_STREQ(g.buffer, c.expected);
        EXPECT_TRUE(g.guardIntact(c.capacity));
    }
}

TEST(Paths, TrailingBackslash) {
    struct Case { const char* path; size_t capacity; int result; const char* added; const char* dropped; };
    const Case cases[] = {
        {"", 4, 0, "\\", ""},
        {"C:\\images", 16, 0, "C:\\images\\", "C:\\images"},
        {"C:\\images\\", 16, 0, "C:\\images\\", "C:\\images"},
        {"abc", 5, 0, "abc\\", "abc"},
        {"abc", 4, -1, "abc", "abc"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        Guarded g(c.path);
        EXPECT_EQ(addTrailingBackslash(g.buffer, c.capacity), c.result);
        EXPECT_STREQ(g.buffer, c.added);
        EXPECT_TRUE(g.guardIntact(c.capacity));
        char dropped[32];
        std::strcpy(dropped, c.path);
        dropTrailingBackslash(dropped);
        EXPECT_STREQ(dropped, c.dropped);
    }
}

TEST(Paths, CutToDirectoryAndFileName) {
    struct Case { const char* path; const char* directory; const char* fileName; };
    const Case cases[] = {
        {"C:\\images\\a.iso", "C:\\images\\", "a.iso"},
        {"a.iso", "", "a.iso"},
        {"D:", "", "D:"},
        {"C:\\dir\\", "C:\\dir\\", ""},
        {"", "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        char directory[32];
        char fileName[32];
        std::strcpy(directory, c.path);
        std::strcpy(fileName, c.path);
        cutToDirectory(directory);
        cutToFileName(fileName);
        EXPECT_STREQ(directory, c.directory);
        EXPECT_STREQ(fileName, c.fileName);
    }
}

TEST(Paths, CaseInsensitiveEnding) {
    EXPECT_EQ(endsWithNoCase("DISC.CUE", ".cue"), 1);
    EXPECT_EQ(endsWithNoCase("cue", ".cue"), 0);
    EXPECT_EQ(endsWithNoCase("disc.cue", ""), 0);
    EXPECT_EQ(endsWithNoCase("disc.cue", "disc.cue"), 1);
}

TEST(Paths, MakeDirectories) {
    unit::ScratchDirectory scratch;
    ASSERT_TRUE(scratch.ok());
    EXPECT_EQ(makeDirectories("a/b//c/"), 0);
    EXPECT_TRUE(unit::fileExists("a/b/c"));
    EXPECT_EQ(makeDirectories((scratch.path() + "/a/b/d").c_str()), 0);  // absolute, levels exist
    EXPECT_TRUE(unit::fileExists("a/b/d"));
    EXPECT_EQ(makeDirectories("a/b"), 0);

    unit::writeWholeFile("file", "x");
    unit::writeWholeFile("a/plain", "x");
    errno = 0;
    EXPECT_EQ(makeDirectories("a/plain"), -1);
    EXPECT_EQ(errno, ENOTDIR);
    errno = 0;
    EXPECT_EQ(makeDirectories("file/below"), -1);
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_EQ(makeDirectories(""), -1);
}

TEST(Paths, SleepTruncatesToMilliseconds) {
    using Clock = std::chrono::steady_clock;
    auto timed = [](double seconds) {
        const auto start = Clock::now();
        sleepSeconds(seconds);
        return std::chrono::duration<double>(Clock::now() - start).count();
    };
    EXPECT_GE(timed(0.05), 0.05);
    // Requests below one millisecond, negative or NaN return at once (generous bound for busy hosts).
    EXPECT_LT(timed(0.0009) + timed(-1.0) + timed(std::nan("")), 0.5);
}

}  // namespace
}  // namespace lumadisc
