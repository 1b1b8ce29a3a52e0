// The emulated drive as the tests set it up (it reads its environment whenever the device is opened)
// and the command blocks it recorded.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/e2e/plugin_harness.h"

namespace lumadisc::drive_test {

constexpr const char* kDevice = "/dev/lumadisc-emulated-drive";

struct DriveSetup {
    std::string image{};  // CUE sheet behind the drive
    std::string faults{};  // OP[@LBA[-LBA]][xN]=SK/ASC/ASCQ[/d] | none | timeout | error, comma-separated
    bool noMedium = false;
    std::string access{};  // "", "readonly" or "busy"
    int delayMs = 0;     // time each READ CD takes
};

struct RecordedCommand {
    std::vector<uint8_t> block;
    std::string direction;  // from, to, none
    uint32_t length = 0;
    uint32_t timeoutMs = 0;
    std::vector<uint8_t> dataOut;
};

// Sets the environment the emulated drive reads; commands go to commandLog.
void configureDrive(const DriveSetup& setup, const std::string& commandLog);
std::vector<RecordedCommand> readCommands(const std::string& commandLog);
std::string hexText(const std::vector<uint8_t>& bytes);

// A plugin harness with a three-track disc (data, audio after a gap, audio) in the emulated drive.
class DriveHarness : public e2e::PluginHarness {
protected:
    void SetUp() override;
    void TearDown() override;
    void configure(DriveSetup setup);
    // Settings that open the drive, with the speed limit and spin-down time given.
    fixtures::PluginIni driveSettings(int speedLimit = 0, int spinDown = 0) const;
    std::vector<RecordedCommand> commands() const { return readCommands(commandLog()); }
    std::string commandLog() const { return scratch_.file("commands.log"); }
    std::vector<uint8_t> imageBytes() const;

    fixtures::CueImage image_;
};

}  // namespace lumadisc::drive_test
