// Starting the configuration program on Linux: posix_spawn in its working directory, then waitpid
// without limit.
#include <dlfcn.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "config/config_program.h"

extern char** environ;

namespace lumadisc {

namespace {

class PosixProcessRunner : public ProcessRunner {
public:
    bool runnable(const std::string& path) override {
        struct stat status {};
        return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(path.c_str(), X_OK) == 0;
    }

    bool runAndWait(const std::string& path, const char* workingDirectory, std::string* reason) override {
        // A relative program path names a file as seen from here, not from the child's directory.
        std::string program = path;
        if (program[0] != '/') {
            char here[4096];
            if (getcwd(here, sizeof here) != nullptr) program = std::string(here) + "/" + program;
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addchdir_np(&actions, workingDirectory);
        char* argv[] = {program.data(), nullptr};
        pid_t child = -1;
        const int rc = posix_spawn(&child, program.c_str(), &actions, nullptr, argv, environ);
        posix_spawn_file_actions_destroy(&actions);
        if (rc != 0) {
            *reason = std::strerror(rc);
            return false;
        }
        int status = 0;
        // ECHILD: a host that ignores SIGCHLD has the child reaped for it; it has ended all the same.
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        return true;
    }

    std::string ownDirectory() override {
        Dl_info info{};
        if (dladdr(reinterpret_cast<void*>(&systemProcessRunner), &info) == 0 || info.dli_fname == nullptr) return "";
        std::string file = info.dli_fname;
        const size_t slash = file.rfind('/');
        return slash == std::string::npos ? std::string() : file.substr(0, slash);
    }
};

}  // namespace

ProcessRunner& systemProcessRunner() {
    static PosixProcessRunner runner;
    return runner;
}

}  // namespace lumadisc
