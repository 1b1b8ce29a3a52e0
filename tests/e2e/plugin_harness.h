// Each test gets its own scratch working directory and brings the plugin up and down itself, as a
// host would: the plugin reads ./configs/lumaDisc.ini and writes ./lumaDisc.log there.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "host/classic_host.h"
#include "host/scratch_dir.h"
#include "tools/fixtures/cue_image.h"
#include "tools/fixtures/ini_file.h"

namespace lumadisc::e2e {

class PluginHarness : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    const host::ClassicExports& api() const { return host_.api(); }
    host::ClassicHost& host() { return host_; }
    const std::string& dir() const { return scratch_.path(); }

    // Writes the settings and runs CDRinit + CDRopen; returns CDRopen's result.
    long openWith(const fixtures::PluginIni& settings);
    // Writes a CUE image into the scratch directory.
    fixtures::CueImage writeCue(const fixtures::CueImageBuilder& builder, const std::string& name = "disc");
    // The plugin's log file as it stands.
    std::string log() const;
    // Closes (and shuts down) the plugin so that its log is complete.
    void closePlugin();

    host::ScratchDir scratch_{"lumadisc-e2e"};
    host::ClassicHost host_;
};

// Settings naming disc with logging on.
fixtures::PluginIni settingsFor(const std::string& disc, bool logging = true);
// Raw bytes of sector lba of a data file whose sectors lie `stride` bytes apart.
std::vector<uint8_t> binSector(const std::string& binPath, Lba lba, int stride = kRawSectorSize);

}  // namespace lumadisc::e2e
