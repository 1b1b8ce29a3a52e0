#include "config/config_program.h"

#include <cstdio>
#include <cstdlib>

#include "config/log.h"
#include "support/paths.h"

namespace lumadisc {

namespace {

ProcessRunner* g_runner = nullptr;

ProcessRunner& runner() { return g_runner != nullptr ? *g_runner : systemProcessRunner(); }

std::string joined(const std::string& directory, const char* name) {
    if (directory.empty()) return name;
    return directory.back() == '/' ? directory + name : directory + "/" + name;
}

}  // namespace

void useProcessRunner(ProcessRunner* r) { g_runner = r; }

std::string findConfigProgram(const char* workingDirectory) {
    ProcessRunner& r = runner();
    if (workingDirectory != nullptr && workingDirectory[0] != '\0') {
        const std::string candidate = joined(workingDirectory, kConfigProgramName);
        if (r.runnable(candidate)) return candidate;
    }
    const std::string own = r.ownDirectory();
    if (!own.empty() && r.runnable(joined(own, kConfigProgramName))) return joined(own, kConfigProgramName);
    const char* path = std::getenv("PATH");
    const std::string search = path != nullptr ? path : "";
    size_t start = 0;
    while (start <= search.size()) {
        size_t end = search.find(':', start);
        if (end == std::string::npos) end = search.size();
        // An empty entry of $PATH means the current directory.
        const std::string directory = end > start ? search.substr(start, end - start) : ".";
        const std::string candidate = joined(directory, kConfigProgramName);
        if (r.runnable(candidate)) return candidate;
        start = end + 1;
    }
    return "";
}

namespace {

// The classic face runs the program while its log is closed (CDRconfigure, calldialogonstart), so a
// failure also goes to standard output, where the "[SYS]" lines of the operating system's services go.
void reportFailure(const char* what, const std::string& detail) {
    logWrite(kLogPlugin, "[CDR] Error: configuration program %s (%s).\n", what, detail.c_str());
    std::printf("[SYS] Error: configuration program %s (%s).\n", what, detail.c_str());
    std::fflush(stdout);
}

}  // namespace

void runConfigProgram(const char* workingDirectory) {
    const char* directory = workingDirectory != nullptr && workingDirectory[0] != '\0' ? workingDirectory : ".";
    // A first run has no settings directory yet: the program is started in a new one, where it
    // writes the settings file the plugin then reads.
    makeDirectories(directory);
    const std::string program = findConfigProgram(directory);
    if (program.empty()) {
        reportFailure("not found", kConfigProgramName);
        return;
    }
    logWrite(kLogPlugin, "[CDR] runConfigProgram(%s, %s).\n", program.c_str(), directory);
    std::string reason;
    if (!runner().runAndWait(program, directory, &reason)) reportFailure("not started", program + ": " + reason);
}

}  // namespace lumadisc
