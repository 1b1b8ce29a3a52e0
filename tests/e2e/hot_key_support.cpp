#include "tests/e2e/hot_key_support.h"

#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include "host/scratch_dir.h"
#include "tests/unit/shell_command.h"

namespace lumadisc::e2e {

XvfbServer::~XvfbServer() { stop(); }

void XvfbServer::stop() {
    if (pid_ > 0) {
        kill(pid_, SIGTERM);
        int status = 0;
        waitpid(pid_, &status, 0);
    }
    pid_ = -1;
    if (pipe_ >= 0) close(pipe_);
    pipe_ = -1;
}

bool XvfbServer::start(std::string* why) {
    for (const char* tool : {"Xvfb", "xdotool"}) {
        if (!test::toolInstalled(tool)) {
            *why = std::string(tool) + " is not installed (scripts/setup.sh installs it)";
            return false;
        }
    }
    int fds[2];
    if (pipe(fds) != 0) {
        *why = "no pipe";
        return false;
    }
    pid_ = fork();
    if (pid_ == 0) {
        close(fds[0]);
        const std::string fd = std::to_string(fds[1]);
        execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "640x480x24", "-nolisten", "tcp",
               static_cast<char*>(nullptr));
        _exit(127);
    }
    close(fds[1]);
    pipe_ = fds[0];  // kept open: Xvfb writes to it once and must not see it closed
    std::string number;
    pollfd wait{pipe_, POLLIN, 0};
    while (number.find('\n') == std::string::npos && poll(&wait, 1, 10000) > 0) {
        char chunk[16];
        const ssize_t got = read(pipe_, chunk, sizeof chunk);
        if (got <= 0) break;
        number.append(chunk, static_cast<size_t>(got));
    }
    if (number.find('\n') == std::string::npos) {
        *why = "Xvfb did not report its display";
        return false;
    }
    display_ = std::string(":").append(number, 0, number.find('\n'));
    return true;
}

bool XvfbServer::xdotool(const std::string& arguments) const {
    // Bounded: a `search --sync` for a window that never comes must not hang the test.
    return std::system(("DISPLAY=" + display_ + " timeout 30 xdotool " + arguments + " >/dev/null 2>&1").c_str()) == 0;
}

bool XvfbServer::press(const std::string& keys, std::chrono::milliseconds held, std::chrono::milliseconds after) const {
    std::istringstream words(keys);
    std::string reversed;
    for (std::string key; words >> key;) reversed = key + " " + reversed;
    if (!xdotool("keydown " + keys)) return false;
    std::this_thread::sleep_for(held);
    const bool released = xdotool("keyup " + reversed);
    std::this_thread::sleep_for(after);
    return released;
}

EnvironmentOverride::~EnvironmentOverride() {
    for (const auto& [name, value] : saved_) {
        if (value) {
            setenv(name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(name.c_str());
        }
    }
}

void EnvironmentOverride::set(const std::string& name, const std::string& value) {
    if (saved_.count(name) == 0) {
        const char* old = std::getenv(name.c_str());
        saved_[name] = old != nullptr ? std::optional<std::string>(old) : std::nullopt;
    }
    setenv(name.c_str(), value.c_str(), 1);
}

void writeConfigStandIn(const std::string& directory, const std::string& extraShell) {
    const std::string path = directory + "/configs/lumadisc-config";
    mkdir((directory + "/configs").c_str(), 0777);
    std::ofstream(path) << "#!/bin/sh\n"
                           "echo run >> ../config-runs\n"
                           "if [ -f ../disc-cycle ]; then\n"
                           "  current=$(sed -n 's/^current = //p' lumaDisc.ini)\n"
                           "  next=$(grep -v -x -F \"$current\" ../disc-cycle | head -n 1)\n"
                           "  sed -i \"s|^current = .*|current = $next|\" lumaDisc.ini\n"
                           "fi\n"
                        << extraShell << "\n";
    chmod(path.c_str(), 0755);
}

int configRuns(const std::string& directory) {
    std::ifstream in(directory + "/config-runs");
    int lines = 0;
    for (std::string line; std::getline(in, line);) ++lines;
    return lines;
}

bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() >= end) return done();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

}  // namespace lumadisc::e2e
