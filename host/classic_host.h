// Drives the plugin's classic face the way an emulator does, with typed helpers on top.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/plugin_loader.h"
#include "src/disc/disc_model.h"

namespace lumadisc::host {

struct TrackInfo {
    int number = 0;
    Msf start;          // absolute, binary
    Lba lba = 0;
    int32_t length = 0; // sectors up to the next track (or the lead-out)
    bool audio = false; // an audio track, by the Q channel's control bits at its start
};

struct SectorRead {
    long result = 0;
    uint8_t header[4] = {};
    uint8_t subheader[8] = {};
    uint8_t data[2328] = {};     // the bytes after the subheader (user data and EDC/ECC)
    uint8_t subchannel[96] = {};
};

class ClassicHost {
public:
    bool load(const std::string& pluginPath);
    const std::string& error() const { return loader_.error(); }
    const ClassicExports& api() const { return loader_.classic(); }
    PluginLoader& loader() { return loader_; }

    // The whole table of contents through CDRgetTN, CDRgetTD and CDRgetTE.
    std::vector<TrackInfo> tracks();
    // The lead-out as CDRgetTD(0) reports it.
    Lba leadOut();
    // CDRreadTrack at an Lba (>= -150), then the buffer and the subchannel block.
    SectorRead readSector(Lba lba);
    // The full 2352 bytes through CDRreadCDDA, with the subchannel block.
    void readRaw(Lba lba, uint8_t* sector, uint8_t* subchannel);

private:
    PluginLoader loader_;
};

}  // namespace lumadisc::host
