#include "tests/drive/emulated_drive.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "tools/fixtures/chd_image.h"

namespace lumadisc::drive_test {

void configureDrive(const DriveSetup& setup, const std::string& commandLog) {
    setenv("LUMADISC_DRIVE_DEVICE", kDevice, 1);
    setenv("LUMADISC_DRIVE_IMAGE", setup.image.c_str(), 1);
    setenv("LUMADISC_DRIVE_COMMANDS", commandLog.c_str(), 1);
    setenv("LUMADISC_DRIVE_FAULTS", setup.faults.c_str(), 1);
    setenv("LUMADISC_DRIVE_MEDIUM", setup.noMedium ? "absent" : "", 1);
    setenv("LUMADISC_DRIVE_ACCESS", setup.access.c_str(), 1);
    setenv("LUMADISC_DRIVE_DELAY_MS", std::to_string(setup.delayMs).c_str(), 1);
    std::remove(commandLog.c_str());
}

namespace {
std::vector<uint8_t> hexBytes(const std::string& text) {
    std::vector<uint8_t> bytes;
    std::istringstream words(text);
    for (std::string word; words >> word;) bytes.push_back(static_cast<uint8_t>(std::stoul(word, nullptr, 16)));
    return bytes;
}
}  // namespace

std::vector<RecordedCommand> readCommands(const std::string& commandLog) {
    std::vector<RecordedCommand> commands;
    std::istringstream lines(host::readFile(commandLog));
    for (std::string line; std::getline(lines, line);) {
        RecordedCommand command;
        const size_t bar = line.find(" | ");
        command.block = hexBytes(line.substr(0, bar));
        std::istringstream transfer(line.substr(bar + 3));
        transfer >> command.direction >> command.length >> command.timeoutMs;
        if (const size_t data = line.find(" | ", bar + 3); data != std::string::npos)
            command.dataOut = hexBytes(line.substr(data + 3));
        commands.push_back(command);
    }
    return commands;
}

std::string hexText(const std::vector<uint8_t>& bytes) {
    std::string text;
    char item[4];
    for (const uint8_t byte : bytes) {
        std::snprintf(item, sizeof item, "%02X", byte);
        text += text.empty() ? item : std::string(" ") + item;
    }
    return text;
}

void DriveHarness::SetUp() {
    PluginHarness::SetUp();
    // A data track of real data sectors (sync, header, EDC/ECC), as a drive reads them.
    const auto data = [](Lba lba, int32_t, fixtures::Sector& sector) { sector = fixtures::mixedDataSector(lba); };
    image_ = writeCue(
        fixtures::CueImageBuilder().addDataTrack(300, data).addAudioTrack(200, {}, 150).addAudioTrack(100).withSubchannel());
    configure({});
}

void DriveHarness::TearDown() {
    PluginHarness::TearDown();
    unsetenv("LUMADISC_DRIVE_DEVICE");
}

void DriveHarness::configure(DriveSetup setup) {
    if (setup.image.empty()) setup.image = image_.cuePath;
    configureDrive(setup, commandLog());
}

fixtures::PluginIni DriveHarness::driveSettings(int speedLimit, int spinDown) const {
    fixtures::PluginIni settings = e2e::settingsFor(kDevice);
    settings.playCdda = false;  // nothing here plays CD audio, and a test machine has no sound device
    settings.extra.push_back({"cdrom property", {"speedlimitation", std::to_string(speedLimit)}});
    settings.extra.push_back({"cdrom property", {"spindowntime", std::to_string(spinDown)}});
    return settings;
}

std::vector<uint8_t> DriveHarness::imageBytes() const {
    const std::string text = host::readFile(image_.binPath);
    return std::vector<uint8_t>(text.begin(), text.end());
}

}  // namespace lumadisc::drive_test
