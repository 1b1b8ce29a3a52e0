#include "tools/lumadisc/session.h"

#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "tools/fixtures/demo_disc.h"
#include "tools/fixtures/ini_file.h"

namespace lumadisc::tool {

namespace {

bool endsWith(const std::string& text, const std::string& suffix) {
    if (text.size() < suffix.size()) return false;
    for (size_t i = 0; i < suffix.size(); ++i) {
        const char a = text[text.size() - suffix.size() + i];
        const char b = suffix[i];
        if (std::tolower(static_cast<unsigned char>(a)) != std::tolower(static_cast<unsigned char>(b)))
            return false;
    }
    return true;
}

}  // namespace

std::string pluginPath(const CommonOptions& options) {
    if (!options.plugin.empty()) return options.plugin;
    if (const char* env = std::getenv("LUMADISC_PLUGIN"); env && *env) return env;
    return toolDirectory() + "/liblumadisc.so";
}

bool prepareRun(const std::string& given, PreparedRun* run) {
    run->scratch = std::make_unique<host::ScratchDir>("lumadisc");
    if (!run->scratch->ok()) {
        std::fprintf(stderr, "lumadisc: cannot create a scratch directory\n");
        return false;
    }
    if (given.empty()) {
        run->disc = toolDirectory() + "/demo/demo.cue";
        if (!std::filesystem::exists(run->disc)) {
            std::string error;
            if (!fixtures::writeDemoDisc(run->scratch->file("demo"), &error)) {
                std::fprintf(stderr, "lumadisc: cannot write the demo disc: %s\n", error.c_str());
                return false;
            }
            run->disc = run->scratch->file("demo/demo.cue");
        }
    } else if (given.find('.') != std::string::npos && given != "No CD (bios shell)") {
        run->disc = host::absolutePath(given);
        if (!std::filesystem::exists(run->disc)) {
            std::fprintf(stderr, "lumadisc: %s: no such file\n", given.c_str());
            return false;
        }
    } else {
        run->disc = given;
    }
    return true;
}

fixtures::PluginIni commonSettings(const CommonOptions& options, const std::string& disc) {
    fixtures::PluginIni settings;
    settings.current = disc;
    settings.enableLogging = options.log;
    settings.caching = !options.noCache;
    return settings;
}

bool writeSettings(const host::ScratchDir& scratch, const fixtures::PluginIni& settings) {
    std::string error;
    if (fixtures::writePluginIni(scratch.path(), settings, &error)) return true;
    std::fprintf(stderr, "lumadisc: %s\n", error.c_str());
    return false;
}

std::string toolDirectory() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string(".") : self.parent_path().string();
}

std::string discKindName(const std::string& disc) {
    if (disc == "No CD (bios shell)") return "empty disc (0)";
    if (disc.find('.') == std::string::npos) return "physical drive (3)";
    if (endsWith(disc, ".cue")) return "CUE sheet (4)";
    if (endsWith(disc, ".ccd")) return "CloneCD (5)";
    if (endsWith(disc, ".toc")) return "full TOC (7)";
    if (endsWith(disc, ".mds")) return "MDS descriptor (6)";
    if (endsWith(disc, ".exe")) return "executable (2)";
    if (endsWith(disc, ".chd")) return "compressed image (8)";
    return "unknown (-1)";
}

Session::~Session() { finish(); }

int Session::start(const CommonOptions& options, const std::string& disc) {
    options_ = options;
    PreparedRun run;
    const bool prepared = prepareRun(disc, &run);
    scratch_ = std::move(run.scratch);
    if (!prepared) return kExitFailure;
    disc_ = run.disc;
    fixtures::PluginIni settings = commonSettings(options, disc_);
    settings.playCdda = false;  // the reading commands play no CD audio and open no sound device
    if (!writeSettings(*scratch_, settings)) return kExitFailure;
    const std::string plugin = pluginPath(options);
    if (!host_.load(plugin)) {
        std::fprintf(stderr, "lumadisc: cannot load the plugin %s: %s\n", plugin.c_str(), host_.error().c_str());
        return kExitFailure;
    }
    if (!scratch_->enter()) {
        std::fprintf(stderr, "lumadisc: cannot enter %s\n", scratch_->path().c_str());
        return kExitFailure;
    }
    host_.api().init();
    initialised_ = true;
    if (host_.api().open() != 0) {
        std::fprintf(stderr, "lumadisc: the plugin could not open %s (kind: %s)%s\n", disc_.c_str(),
                     discKindName(disc_).c_str(), options.log ? "" : "; --log shows the plugin's own lines");
        finish();
        return kExitFailure;
    }
    opened_ = true;
    return kExitOk;
}

void Session::finish() {
    const bool ran = initialised_;
    if (opened_) host_.api().close();
    if (initialised_) host_.api().shutdown();
    opened_ = initialised_ = false;
    if (!scratch_) return;
    if (options_.log && ran) {
        const std::string log = host::readFile(scratch_->file("lumaDisc.log"));
        std::fprintf(stderr, "--- plugin log ---\n%s", log.c_str());
    }
    scratch_.reset();
}

}  // namespace lumadisc::tool
