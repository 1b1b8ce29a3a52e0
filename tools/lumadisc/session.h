// One run of the plugin for a command: a scratch working directory with the plugin's settings,
// the plugin loaded from --plugin, $LUMADISC_PLUGIN or beside the tool, and the disc opened.
#pragma once

#include <memory>
#include <string>

#include "host/classic_host.h"
#include "host/scratch_dir.h"
#include "tools/fixtures/ini_file.h"

namespace lumadisc::tool {

struct CommonOptions {
    std::string plugin;  // empty: $LUMADISC_PLUGIN, then beside the tool
    bool log = false;    // show the plugin's log lines on standard error
    bool noCache = false;
};

enum ExitCode { kExitOk = 0, kExitFailure = 1, kExitUsage = 2 };

// The directory the tool's executable lives in.
std::string toolDirectory();
// The plugin library: --plugin, else $LUMADISC_PLUGIN, else liblumadisc.so beside the tool.
std::string pluginPath(const CommonOptions& options);

// A scratch working directory and the disc the plugin is to open in it.
struct PreparedRun {
    std::unique_ptr<host::ScratchDir> scratch;
    std::string disc;
};
// Makes the scratch directory and resolves the disc: empty is the demo disc (written into the
// scratch directory when the build's is missing), an image or executable path becomes absolute and
// must exist, a drive name or "No CD (bios shell)" stays as given. False after saying why.
bool prepareRun(const std::string& given, PreparedRun* run);
// The settings every command starts from: the disc, --log and --no-cache.
fixtures::PluginIni commonSettings(const CommonOptions& options, const std::string& disc);
// Writes the settings into the scratch directory; false after saying why.
bool writeSettings(const host::ScratchDir& scratch, const fixtures::PluginIni& settings);
// The kind the plugin will choose for a disc path, in words.
std::string discKindName(const std::string& disc);

class Session {
public:
    ~Session();
    // Resolves the disc (empty: the demo disc), loads the plugin and opens the disc. On failure
    // prints the reason to standard error and returns an exit code other than kExitOk.
    int start(const CommonOptions& options, const std::string& disc);
    host::ClassicHost& host() { return host_; }
    const std::string& disc() const { return disc_; }

private:
    void finish();

    CommonOptions options_;
    std::unique_ptr<host::ScratchDir> scratch_;
    host::ClassicHost host_;
    std::string disc_;
    bool initialised_ = false;
    bool opened_ = false;
};

}  // namespace lumadisc::tool
