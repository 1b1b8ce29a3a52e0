// Starts the configuration program in a working directory and waits for it to end.
#pragma once

#include <string>

namespace lumadisc {

// The configuration program's file name on this system.
constexpr const char* kConfigProgramName = "lumadisc-config";

// Starts a program and waits for its end (the operating system's part, replaceable by tests).
class ProcessRunner {
public:
    virtual ~ProcessRunner() = default;
    // Whether `path` names a file this process may run.
    virtual bool runnable(const std::string& path) = 0;
    // Starts path with `workingDirectory` as its working directory and waits until it has ended;
    // false with *reason when it could not be started.
    virtual bool runAndWait(const std::string& path, const char* workingDirectory, std::string* reason) = 0;
    // The directory of the library or program this code is part of ("" when unknown).
    virtual std::string ownDirectory() = 0;
};

ProcessRunner& systemProcessRunner();
// Replaces the runner (tests); null restores the system's.
void useProcessRunner(ProcessRunner* runner);

// The program to start: in workingDirectory, then beside the plugin, then on $PATH; "" when none.
std::string findConfigProgram(const char* workingDirectory);
// Starts the configuration program and blocks until it has ended. A program that cannot be found
// or started is not waited for; the log says why.
void runConfigProgram(const char* workingDirectory);

}  // namespace lumadisc
