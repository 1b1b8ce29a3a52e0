// lumadisc messages: prints the status lines a running plugin writes to its message file (cover,
// volumes, muting, disc swaps), emptying the file after each read so that the plugin's size limit is
// never reached; with --follow it keeps printing them as they come, with --notify it also shows each
// line as a desktop notification.
#include <dirent.h>
#include <fcntl.h>
#include <libnotify/notify.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "config/message_file.h"
#include "support/paths.h"
#include "tools/lumadisc/command_table.h"
#include "tools/lumadisc/commands.h"

namespace lumadisc::tool {

namespace {

constexpr auto kFollowPeriod = std::chrono::milliseconds(100);

struct MessagesOptions {
    bool follow = false;
    bool notify = false;
    long pid = 0;       // 0: the only running plugin
    long seconds = 0;   // 0: follow until interrupted
};

std::string vendorDirectory() { return std::string(tempDirectory()) + "/" + kMessageVendorDirectory; }

std::string messageFileOf(long pid) { return vendorDirectory() + "/" + std::to_string(pid) + "/" + kMessageFileName; }

bool processRunning(long pid) { return kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM; }

// The process ids of running plugins that have a message file; files left by ended processes are ignored.
std::vector<long> runningPlugins() {
    std::vector<long> pids;
    DIR* directory = opendir(vendorDirectory().c_str());
    if (directory == nullptr) return pids;
    while (const dirent* entry = readdir(directory)) {
        long pid = 0;
        if (!parseNumber(entry->d_name, &pid) || pid <= 0) continue;
        if (processRunning(pid) && access(messageFileOf(pid).c_str(), F_OK) == 0) pids.push_back(pid);
    }
    closedir(directory);
    return pids;
}

// Reads the whole file and empties it. The plugin appends whole lines at the end; the file is
// emptied once its size is what was read, so a line appended meanwhile is read in the next round
// instead of being cut away (a file that keeps growing is emptied after a few rounds all the same).
bool takeLines(const std::string& path, std::string* text) {
    const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (fd < 0) return false;
    for (int round = 0; round < 8; ++round) {
        char chunk[4096];
        for (ssize_t got; (got = read(fd, chunk, sizeof chunk)) > 0;) text->append(chunk, static_cast<size_t>(got));
        struct stat status {};
        if (fstat(fd, &status) == 0 && static_cast<size_t>(status.st_size) != text->size()) continue;
        break;
    }
    const bool emptied = ftruncate(fd, 0) == 0;
    close(fd);
    return emptied || !text->empty();
}

class Notifier {
public:
    explicit Notifier(bool on) {
        if (!on) return;
        ready_ = notify_init("lumaDisc");
        if (!ready_) std::fprintf(stderr, "lumadisc: desktop notifications are not available; printing only\n");
    }
    ~Notifier() {
        if (ready_) notify_uninit();
    }
    void show(const std::string& line) {
        if (!ready_) return;
        NotifyNotification* note = notify_notification_new("lumaDisc", line.c_str(), nullptr);
        GError* error = nullptr;
        if (!notify_notification_show(note, &error) && error != nullptr) {
            std::fprintf(stderr, "lumadisc: notification not shown (%s)\n", error->message);
            g_error_free(error);
        }
        g_object_unref(G_OBJECT(note));
    }

private:
    bool ready_ = false;
};

void print(const std::string& text, Notifier& notifier) {
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        notifier.show(text.substr(start, end - start));
    }
}

int parse(const Arguments& arguments, MessagesOptions* out) {
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        if (word == "--follow") {
            out->follow = true;
        } else if (word == "--notify") {
            out->notify = true;
        } else if ((word == "--pid" || word == "--seconds") && i + 1 < arguments.size()) {
            long* target = word == "--pid" ? &out->pid : &out->seconds;
            if (!parseNumber(arguments[++i], target) || *target <= 0) return usageError("messages");
        } else {
            return usageError("messages");
        }
    }
    return kExitOk;
}

// The message file to read, or "" after saying why (unless waiting quietly for a plugin to start).
std::string findFile(const MessagesOptions& options, bool quiet, int* exitCode) {
    *exitCode = kExitFailure;
    if (options.pid != 0) {
        const std::string path = messageFileOf(options.pid);
        if (access(path.c_str(), F_OK) == 0) return path;
        if (!quiet) std::fprintf(stderr, "lumadisc: process %li has no message file (%s)\n", options.pid, path.c_str());
        return "";
    }
    const std::vector<long> pids = runningPlugins();
    if (pids.size() == 1) return messageFileOf(pids[0]);
    if (pids.empty()) {
        if (!quiet) std::fprintf(stderr, "lumadisc: no running plugin has a message file under %s\n", vendorDirectory().c_str());
        return "";
    }
    std::string list;
    for (long pid : pids) list.append(" ").append(std::to_string(pid));
    std::fprintf(stderr, "lumadisc: several plugins are running (process ids%s); choose one with --pid\n", list.c_str());
    *exitCode = kExitUsage;
    return "";
}

}  // namespace

int runMessages(const Arguments& arguments) {
    MessagesOptions options;
    if (const int code = parse(arguments, &options); code != kExitOk) return code;
    Notifier notifier(options.notify);
    int exitCode = kExitOk;
    std::string path = findFile(options, options.follow, &exitCode);
    if (!options.follow) {
        if (path.empty()) return exitCode;
        std::string text;
        takeLines(path, &text);
        print(text, notifier);
        return kExitOk;
    }
    if (exitCode == kExitUsage) return exitCode;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(options.seconds);
    while (options.seconds == 0 || std::chrono::steady_clock::now() < end) {
        std::string text;
        // A closed disc removes the file; the plugin makes a new one at its next open.
        if (path.empty() || !takeLines(path, &text)) path = findFile(options, true, &exitCode);
        if (exitCode == kExitUsage) return exitCode;
        if (!text.empty()) print(text, notifier);
        std::this_thread::sleep_for(kFollowPeriod);
    }
    return kExitOk;
}

}  // namespace lumadisc::tool
