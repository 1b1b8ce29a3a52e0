#include "tests/e2e/tool_runner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/unit/shell_command.h"

extern char** environ;

namespace lumadisc::e2e {

ToolResult runLumadisc(const host::ScratchDir& scratch, const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"--plugin", LUMADISC_PLUGIN_PATH};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return runProgram(scratch, LUMADISC_TOOL_PATH, all);
}

ToolResult runProgram(const host::ScratchDir& scratch, const std::string& program,
                      const std::vector<std::string>& arguments, const std::string& shellPrefix) {
    std::string command = shellPrefix + test::shellWord(program);
    for (const std::string& word : arguments) {
        // Two appends, not " " + word: the temporary makes GCC 12 at -O3 report a false overlap.
        command += ' ';
        command += test::shellWord(word);
    }
    const std::string outPath = scratch.file("lumadisc.out");
    const std::string errPath = scratch.file("lumadisc.err");
    const int status =
        std::system((command + " </dev/null >" + test::shellWord(outPath) + " 2>" + test::shellWord(errPath)).c_str());
    ToolResult run;
    if (status != -1 && WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
    struct rusage usage {};
    getrusage(RUSAGE_CHILDREN, &usage);
    run.peakResidentKb = usage.ru_maxrss;  // kilobytes on Linux
    run.out = host::readFile(outPath);
    run.err = host::readFile(errPath);
    return run;
}

pid_t spawnLumadisc(const std::vector<std::string>& arguments) {
    std::vector<std::string> words = {LUMADISC_TOOL_PATH, "--plugin", LUMADISC_PLUGIN_PATH};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

std::string describeRun(const ToolResult& run) {
    return "exit " + std::to_string(run.exitCode) + "\n--- stdout\n" + run.out + "--- stderr\n" + run.err;
}

}  // namespace lumadisc::e2e
