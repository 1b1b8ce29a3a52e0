#include "tools/lumadisc/session.h"

#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>

#include "reader/disc_kinds.h"
#include "tools/fixtures/demo_disc.h"
#include "tools/fixtures/ini_file.h"
#include "tools/lumadisc/cleanup_on_signal.h"

namespace lumadisc::tool {

namespace {

// The settings library refuses a whole file with a line longer than this.
constexpr size_t kSettingsLineLimit = 1022;
constexpr const char* kEmptyDisc = "No CD (bios shell)";

bool isFile(const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(path, error) && !error;
}

void printLog(const host::ScratchDir& scratch) {
    const std::string log = host::readFile(scratch.file("lumaDisc.log"));
    std::fprintf(stderr, "--- plugin log ---\n%s", log.c_str());
}

}  // namespace

std::string toolDirectory() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string(".") : self.parent_path().string();
}

std::string pluginPath(const CommonOptions& options) {
    if (!options.plugin.empty()) return options.plugin;
    if (const char* env = std::getenv("LUMADISC_PLUGIN"); env && *env) return env;
    const std::string beside = toolDirectory() + "/liblumadisc.so";
    if (isFile(beside)) return beside;
    const std::string installed = host::absolutePath(toolDirectory() + "/" + LUMADISC_PLUGIN_FROM_TOOL + "/liblumadisc.so");
    if (isFile(installed)) return installed;
    // A user install (scripts/install-user.sh): the tool in ~/.local/bin, the plugin where the emulator
    // loads it.
    const char* home = std::getenv("HOME");
    if (home != nullptr && *home != '\0' && isFile(std::string(home) + "/.pcsxr/plugins/liblumadisc.so"))
        return std::string(home) + "/.pcsxr/plugins/liblumadisc.so";
    return installed;
}

std::string discKindName(const std::string& disc) {
    const DiscKind* kind = discKindOf(disc.c_str());
    if (kind == nullptr) return "unknown (-1)";
    return std::string(kind->name) + " (" + std::to_string(static_cast<int>(kind->type)) + ")";
}

bool discPathStorable(const std::string& disc, std::string* why) {
    if (disc.find_first_of("\r\n") != std::string::npos) {
        *why = "it holds a line break, which ends a line of the settings file";
        return false;
    }
    if (disc.find('"') != std::string::npos && disc.find_first_of(";#") != std::string::npos) {
        *why = "it holds a '\"' together with ';' or '#', which the settings file cannot quote";
        return false;
    }
    if (!disc.empty() && std::isspace(static_cast<unsigned char>(disc.back()))) {
        *why = "it ends in a blank, which the settings file drops";
        return false;
    }
    fixtures::PluginIni settings;
    settings.current = disc;
    std::istringstream lines(fixtures::pluginIniText(settings).text());
    for (std::string line; std::getline(lines, line);) {
        if (line.size() > kSettingsLineLimit) {
            *why = "its settings line would be " + std::to_string(line.size()) +
                   " characters long, and the settings file takes lines of at most " +
                   std::to_string(kSettingsLineLimit);
            return false;
        }
    }
    return true;
}

bool Session::resolveDisc(const std::string& given) {
    if (given.empty()) {
        disc_ = toolDirectory() + "/demo/demo.cue";
        if (isFile(disc_)) return true;
        std::string error;
        if (!fixtures::writeDemoDisc(scratch_->file("demo"), &error)) {
            std::fprintf(stderr, "lumadisc: cannot write the demo disc: %s\n", error.c_str());
            return false;
        }
        disc_ = scratch_->file("demo/demo.cue");
        return true;
    }
    if (given.find('.') == std::string::npos || given == kEmptyDisc) {
        disc_ = given;  // a drive name or the empty disc
    } else {
        disc_ = host::absolutePath(given);
        std::error_code error;
        const bool exists = std::filesystem::exists(disc_, error);
        if (error) {
            std::fprintf(stderr, "lumadisc: %s: %s\n", given.c_str(), error.message().c_str());
            return false;
        }
        if (!exists) {
            std::fprintf(stderr, "lumadisc: %s: no such file\n", given.c_str());
            return false;
        }
    }
    std::string why;
    if (!discPathStorable(disc_, &why)) {
        std::fprintf(stderr, "lumadisc: the disc path cannot be stored in the plugin's settings file: %s\n",
                     why.c_str());
        return false;
    }
    return true;
}

bool Session::load(const SessionSetup& setup) {
    plugin_ = pluginPath(options_);
    bool loaded = false;
    std::string error;
    if (setup.extended) {
        console_ = std::make_unique<host::ConsoleHost>();
        if (setup.configureConsole) setup.configureConsole(*console_);
        loaded = console_->load(plugin_);
        error = console_->error();
    } else {
        classic_ = std::make_unique<host::ClassicHost>();
        loaded = classic_->load(plugin_);
        error = classic_->error();
    }
    if (!loaded) {
        std::fprintf(stderr, "lumadisc: cannot load the plugin %s: %s\n", plugin_.c_str(), error.c_str());
        return false;
    }
    // The plugin reads ./configs/lumaDisc.ini and writes ./lumaDisc.log.
    if (!scratch_->enter()) {
        std::fprintf(stderr, "lumadisc: cannot enter %s\n", scratch_->path().c_str());
        return false;
    }
    if (console_) console_->setConfigDirectory(scratch_->path());
    return true;
}

bool Session::initAndOpen(const SessionSetup& setup) {
    if (console_) {
        console_->init();
    } else {
        classic_->api().init();
    }
    initialised_ = true;
    if (setup.afterInit) setup.afterInit();
    std::fflush(stdout);
    const long opened = console_ ? console_->open() : classic_->api().open();
    std::fflush(stdout);
    if (opened != 0) {
        std::fprintf(stderr, "lumadisc: the plugin could not open %s (kind: %s)%s\n", disc_.c_str(),
                     discKindName(disc_).c_str(), options_.log ? "" : "; --log shows the plugin's own lines");
        return false;
    }
    opened_ = true;
    if (console_) console_->start();
    return true;
}

int Session::start(const std::string& disc, const SessionSetup& setup) {
    scratch_ = std::make_unique<host::ScratchDir>("lumadisc");
    if (!scratch_->ok()) {
        std::fprintf(stderr, "lumadisc: cannot create a scratch directory under %s\n",
                     std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp");
        scratch_.reset();
        return kExitFailure;
    }
    removeOnSignal(scratch_->path());
    if (!resolveDisc(disc)) return finish(kExitFailure);

    fixtures::PluginIni settings;
    settings.current = disc_;
    settings.enableLogging = options_.log || setup.logging;
    settings.caching = !options_.noCache;
    settings.playCdda = setup.playCdda;
    settings.extra = setup.settings;
    std::string error;
    if (!fixtures::writePluginIni(scratch_->path(), settings, &error)) {
        std::fprintf(stderr, "lumadisc: %s\n", error.c_str());
        return finish(kExitFailure);
    }
    if (setup.beforeLoad && !setup.beforeLoad(*scratch_)) return finish(kExitFailure);
    if (!load(setup) || !initAndOpen(setup)) return finish(kExitFailure);
    return kExitOk;
}

int Session::finish(int code) {
    const bool ran = initialised_;
    if (console_) {
        if (opened_) console_->stop();
        console_.reset();  // Close and Shutdown for whatever the plugin went through, then the library goes
    }
    if (classic_) {
        if (opened_) classic_->api().close();
        if (initialised_) classic_->api().shutdown();
        classic_.reset();
    }
    opened_ = initialised_ = false;
    if (!scratch_) return code;
    if (options_.log && ran) printLog(*scratch_);
    const std::string path = scratch_->path();
    scratch_.reset();
    forgetOnSignal(path);
    return code;
}

}  // namespace lumadisc::tool
