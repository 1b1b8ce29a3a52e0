#include "host/plugin_loader.h"

#include <dlfcn.h>

namespace lumadisc::host {

PluginLoader::~PluginLoader() { unload(); }

void* PluginLoader::symbol(const char* name) const {
    return handle_ ? dlsym(handle_, name) : nullptr;
}

bool PluginLoader::load(const std::string& path) {
    unload();
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle_) {
        const char* why = dlerror();
        error_ = why ? why : ("cannot load " + path);
        return false;
    }
    bool complete = true;
    auto bind = [&](auto& slot, const char* name) {
        slot = reinterpret_cast<std::remove_reference_t<decltype(slot)>>(dlsym(handle_, name));
        if (!slot) {
            // Appended piece by piece: a temporary string built with operator+ here makes GCC 12 at -O3
            // report an impossible overlap (-Wrestrict) inside the inlined copy.
            error_ += error_.empty() ? "missing export: " : ", ";
            error_ += name;
            complete = false;
        }
    };
    bind(classic_.init, "CDRinit");
    bind(classic_.shutdown, "CDRshutdown");
    bind(classic_.open, "CDRopen");
    bind(classic_.close, "CDRclose");
    bind(classic_.getTN, "CDRgetTN");
    bind(classic_.getTD, "CDRgetTD");
    bind(classic_.readTrack, "CDRreadTrack");
    bind(classic_.getBuffer, "CDRgetBuffer");
    bind(classic_.getBufferSub, "CDRgetBufferSub");
    bind(classic_.play, "CDRplay");
    bind(classic_.stop, "CDRstop");
    bind(classic_.getStatus, "CDRgetStatus");
    bind(classic_.readCDDA, "CDRreadCDDA");
    bind(classic_.getTE, "CDRgetTE");
    bind(classic_.keypressed, "CDRkeypressed");
    bind(classic_.configure, "CDRconfigure");
    bind(classic_.about, "CDRabout");
    bind(classic_.test, "CDRtest");
    bind(classic_.getDriveLetter, "CDRgetDriveLetter");
    bind(classic_.getLibType, "PSEgetLibType");
    bind(classic_.getLibName, "PSEgetLibName");
    bind(classic_.getLibVersion, "PSEgetLibVersion");
    if (!complete) {
        unload();
        return false;
    }
    return true;
}

void PluginLoader::unload() {
    if (handle_) dlclose(handle_);
    handle_ = nullptr;
    classic_ = ClassicExports{};
}

}  // namespace lumadisc::host
