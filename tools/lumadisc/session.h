// One run of the plugin for a command: a scratch working directory with the plugin's settings, the
// plugin loaded from --plugin, $LUMADISC_PLUGIN or beside the tool (or where it is installed), brought
// up through the classic exports or through PluginLoad, the disc opened; and all of it taken down again
// with the log shown when --log asks for it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/classic_host.h"
#include "host/console_host.h"
#include "host/scratch_dir.h"

namespace lumadisc::tool {

struct CommonOptions {
    std::string plugin;  // empty: $LUMADISC_PLUGIN, then beside the tool, then the installed one
    bool log = false;    // show the plugin's log lines on standard error
    bool noCache = false;
};

// The tool's exit codes, all of them (a signal ends a command with 128 + its number).
enum ExitCode { kExitOk = 0, kExitFailure = 1, kExitUsage = 2, kExitUnreadable = 3 };

// The directory the tool's executable lives in.
std::string toolDirectory();
// The plugin library: --plugin, else $LUMADISC_PLUGIN, else liblumadisc.so beside the tool, else the
// one installed with the tool.
std::string pluginPath(const CommonOptions& options);
// The kind the plugin will choose for a disc path, in words.
std::string discKindName(const std::string& disc);

// What a command needs beyond the common start.
struct SessionSetup {
    bool extended = false;  // through PluginLoad, the plugin as the console's controller
    bool playCdda = false;  // only `play` opens a sound device
    bool logging = false;   // the plugin writes its log also without --log (shown only with it)
    // Further settings: {"section", {"key", "value"}}.
    std::vector<std::pair<std::string, std::pair<std::string, std::string>>> settings;
    // Before the plugin is loaded, in the scratch directory's time (a sound configuration, say);
    // false fails the start after the step said why.
    std::function<bool(const host::ScratchDir&)> beforeLoad;
    // The console before it loads the plugin (withheld functions, recorders).
    std::function<void(host::ConsoleHost&)> configureConsole;
    // Between Init and Open.
    std::function<void()> afterInit;
};

class Session {
public:
    explicit Session(CommonOptions options) : options_(std::move(options)) {}
    ~Session() { finish(kExitOk); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Resolves the disc (empty: the demo disc), writes the settings, loads the plugin, initialises it
    // and opens the disc. On failure prints the reason to standard error and returns an exit code
    // other than kExitOk, with everything taken down again.
    int start(const std::string& disc, const SessionSetup& setup = {});
    // Closes and shuts the plugin down, shows its log with --log and removes the scratch directory;
    // returns `code` so that a command can end with `return session.finish(code)`.
    int finish(int code);

    host::ClassicHost& classic() { return *classic_; }
    host::ConsoleHost& console() { return *console_; }
    const std::string& disc() const { return disc_; }
    const std::string& plugin() const { return plugin_; }
    const host::ScratchDir& scratch() const { return *scratch_; }

private:
    bool resolveDisc(const std::string& given);
    bool load(const SessionSetup& setup);
    bool initAndOpen(const SessionSetup& setup);

    CommonOptions options_;
    std::unique_ptr<host::ScratchDir> scratch_;
    std::unique_ptr<host::ClassicHost> classic_;
    std::unique_ptr<host::ConsoleHost> console_;
    std::string disc_;
    std::string plugin_;
    bool initialised_ = false;
    bool opened_ = false;
};

// False, with the reason in *why, when a disc path cannot be written into the settings file so that
// the plugin reads it back unchanged.
bool discPathStorable(const std::string& disc, std::string* why);

}  // namespace lumadisc::tool
