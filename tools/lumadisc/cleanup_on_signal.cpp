#include "tools/lumadisc/cleanup_on_signal.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace lumadisc::tool {

namespace {

std::mutex g_mutex;
std::vector<std::string> g_paths;
std::atomic<int>* g_flag = nullptr;  // under g_mutex

sigset_t stopSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGHUP);
    return set;
}

}  // namespace

void installCleanupOnSignal() {
    // The removal runs on an ordinary thread rather than in a handler, where removing a tree is not
    // safe to do.
    const sigset_t set = stopSignals();
    if (pthread_sigmask(SIG_BLOCK, &set, nullptr) != 0) return;
    std::thread([set] {
        for (;;) {
            int signal = 0;
            if (sigwait(&set, &signal) != 0) return;
            std::lock_guard lock(g_mutex);
            if (g_flag != nullptr) {
                g_flag->store(signal);
                continue;
            }
            for (const std::string& path : g_paths) {
                std::error_code ignored;
                std::filesystem::remove_all(path, ignored);
            }
            _exit(128 + signal);
        }
    }).detach();
}

void interruptOnSignal(std::atomic<int>* flag) {
    std::lock_guard lock(g_mutex);
    g_flag = flag;
}

void removeOnSignal(const std::string& path) {
    std::lock_guard lock(g_mutex);
    g_paths.push_back(path);
}

void forgetOnSignal(const std::string& path) {
    std::lock_guard lock(g_mutex);
    g_paths.erase(std::remove(g_paths.begin(), g_paths.end(), path), g_paths.end());
}

}  // namespace lumadisc::tool
