// Programs we did not write, run through the shell by the oracle tests of both test binaries.
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>

namespace lumadisc::test {

inline bool toolInstalled(const std::string& name) {
    return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0;
}

#define REQUIRE_TOOLS(...)                                                               \
    for (const char* tool : {__VA_ARGS__})                                               \
        if (!::lumadisc::test::toolInstalled(tool)) GTEST_SKIP() << tool << " is not installed"

// The text quoted for the shell.
inline std::string shellWord(const std::string& text) {
    std::string result = "'";
    for (const char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

// Standard output of a shell command (standard error discarded); *status gets its exit status.
inline std::string shellOutput(const std::string& command, int* status = nullptr) {
    std::string output;
    FILE* pipe = popen((command + " 2>/dev/null").c_str(), "r");
    if (!pipe) return output;
    char chunk[4096];
    for (size_t got; (got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;) output.append(chunk, got);
    const int result = pclose(pipe);
    if (status) *status = WIFEXITED(result) ? WEXITSTATUS(result) : -1;
    return output;
}

struct Listed {
    unsigned extent = 0, size = 0;
};

// The entries of `isoinfo -l` ("... 4096 Jan  1 2024 [     23 00]  PSX.EXE;1") or of `iso-info -l`
// ("... [fn 00] [LSN     23]      4096 Jan 01 2024 12:00:00  psx.exe") by name.
inline std::map<std::string, Listed> isoListing(const std::string& output, bool isoinfo) {
    const char* format = isoinfo ? "%*s %*d %*d %*d %u %*s %*d %*d [ %u" : " %*s %*d %*d [fn %*x] [LSN %u] %u";
    std::map<std::string, Listed> entries;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        unsigned first = 0, second = 0;
        if (std::sscanf(line.c_str(), format, &first, &second) != 2) continue;
        std::istringstream words(line);
        std::string name;
        while (words >> name) continue;  // the last word
        entries[name] = isoinfo ? Listed{second, first} : Listed{first, second};
    }
    return entries;
}

}  // namespace lumadisc::test
