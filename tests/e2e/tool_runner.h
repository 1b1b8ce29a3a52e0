// Runs the lumadisc tool as a child process with the built plugin, capturing what it prints.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "host/scratch_dir.h"

namespace lumadisc::e2e {

struct ToolResult {
    int exitCode = -1;  // -1 when the shell that runs it did not exit normally
    std::string out;
    std::string err;
    long peakResidentKb = 0;  // the largest peak resident size of this process's children so far
};

// lumadisc --plugin <the built plugin> ARGUMENTS... through the shell; output goes through files in `scratch`.
ToolResult runLumadisc(const host::ScratchDir& scratch, const std::vector<std::string>& arguments);
// Runs any program with ARGUMENTS through the shell, after `shellPrefix` (for example "cd DIR && ").
ToolResult runProgram(const host::ScratchDir& scratch, const std::string& program,
                      const std::vector<std::string>& arguments, const std::string& shellPrefix = "");
// Starts lumadisc --plugin <the built plugin> ARGUMENTS... without waiting, its output thrown away,
// for tests that signal it while it works; its process id, or -1 when it could not be started.
pid_t spawnLumadisc(const std::vector<std::string>& arguments);
// Exit code and both outputs, for failure messages.
std::string describeRun(const ToolResult& run);

}  // namespace lumadisc::e2e
