// Loads the plugin with dlopen and binds its exports by name, as an emulator does.
#pragma once

#include <string>

#include "lumadisc/host_api.h"

namespace lumadisc::host {

struct ClassicExports {
    CDRinit_t init = nullptr;
    CDRshutdown_t shutdown = nullptr;
    CDRopen_t open = nullptr;
    CDRclose_t close = nullptr;
    CDRgetTN_t getTN = nullptr;
    CDRgetTD_t getTD = nullptr;
    CDRreadTrack_t readTrack = nullptr;
    CDRgetBuffer_t getBuffer = nullptr;
    CDRgetBufferSub_t getBufferSub = nullptr;
    CDRplay_t play = nullptr;
    CDRstop_t stop = nullptr;
    CDRgetStatus_t getStatus = nullptr;
    CDRreadCDDA_t readCDDA = nullptr;
    CDRgetTE_t getTE = nullptr;
    CDRkeypressed_t keypressed = nullptr;
    CDRconfigure_t configure = nullptr;
    CDRabout_t about = nullptr;
    CDRtest_t test = nullptr;
    CDRgetDriveLetter_t getDriveLetter = nullptr;
    PSEgetLibType_t getLibType = nullptr;
    PSEgetLibName_t getLibName = nullptr;
    PSEgetLibVersion_t getLibVersion = nullptr;
};

class PluginLoader {
public:
    PluginLoader() = default;
    ~PluginLoader();
    PluginLoader(const PluginLoader&) = delete;
    PluginLoader& operator=(const PluginLoader&) = delete;

    // Loads the library and binds every classic export; false with error() set on failure.
    bool load(const std::string& path);
    void unload();
    bool loaded() const { return handle_ != nullptr; }
    const std::string& error() const { return error_; }
    const ClassicExports& classic() const { return classic_; }
    // Any symbol by name, or null.
    void* symbol(const char* name) const;

private:
    void* handle_ = nullptr;
    ClassicExports classic_;
    std::string error_;
};

}  // namespace lumadisc::host
