#include "tests/e2e/tool_runner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

extern char** environ;

namespace lumadisc::e2e {

ToolResult runLumadisc(const host::ScratchDir& scratch, const std::vector<std::string>& arguments) {
    std::vector<std::string> words = {LUMADISC_TOOL_PATH, "--plugin", LUMADISC_PLUGIN_PATH};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);

    const std::string outPath = scratch.file("lumadisc.out");
    const std::string errPath = scratch.file("lumadisc.err");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ToolResult run;
    pid_t child = -1;
    const int spawned = posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) {
        run.err = "cannot start " + words[0];
        return run;
    }
    int status = 0;
    struct rusage usage {};
    pid_t waited;
    do {
        waited = wait4(child, &status, 0, &usage);
    } while (waited < 0 && errno == EINTR);
    if (waited == child && WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
    run.peakResidentKb = usage.ru_maxrss;  // kilobytes on Linux
    run.out = host::readFile(outPath);
    run.err = host::readFile(errPath);
    return run;
}

std::string describeRun(const ToolResult& run) {
    return "exit " + std::to_string(run.exitCode) + "\n--- stdout\n" + run.out + "--- stderr\n" + run.err;
}

}  // namespace lumadisc::e2e
