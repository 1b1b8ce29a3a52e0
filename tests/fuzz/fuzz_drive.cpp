// Feeds arbitrary drive answers to the drive layer: each command the layer sends takes the next
// answer from the input (good with its data, or failed with its sense bytes), through an open, the
// table of contents, sector reads and the close; the track table must keep its rules.
// `fuzz_drive --write-seeds DIR` writes the answers of a healthy drive and of failing ones.
#include "config/log.h"
#include "config/settings.h"
#include "drive/cdrom_drive.h"
#include "drive/drive_disc.h"
#include "formats/extent_data.h"
#include "drive/sense_messages.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

using lumadisc::ScsiDirection;
using lumadisc::SenseCodes;

// An answer: one byte (0 good, else failed), a 16-bit little-endian length, that many bytes (the data
// for the host, or the sense bytes). Past the end of the input every command fails without sense.
class ScriptedDrive final : public lumadisc::ScsiPassthrough {
public:
    ScriptedDrive(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    bool isOpticalDrive(const char*) override { return true; }
    int open(const char*, bool* readOnly) override {
        *readOnly = next(1) && data_[offset_ - 1] & 1;
        return 3;
    }
    int execute(int handle, const uint8_t*, uint8_t* buffer, uint32_t length, ScsiDirection direction, uint32_t,
                SenseCodes* sense) override {
        if (handle != 3) std::abort();
        *sense = SenseCodes{};
        if (!next(3)) return -1;
        const bool good = data_[offset_ - 3] == 0;
        size_t count = lumadisc::readLe16(data_ + offset_ - 2);
        if (count > size_ - offset_) count = size_ - offset_;
        const uint8_t* bytes = data_ + offset_;
        offset_ += count;
        if (!good) {
            *sense = lumadisc::senseDecode(bytes, count);
            return -1;
        }
        if (direction == ScsiDirection::kFromDevice) std::memcpy(buffer, bytes, count < length ? count : length);
        return 0;
    }
    void close(int handle) override {
        if (handle != 3) std::abort();
    }

private:
    bool next(size_t count) {
        if (size_ - offset_ < count) return false;
        offset_ += count;
        return true;
    }
    const uint8_t* data_;
    size_t size_;
    size_t offset_ = 0;
};

void answer(std::vector<uint8_t>& input, bool good, const std::vector<uint8_t>& bytes) {
    input.push_back(good ? 0 : 1);
    input.push_back(static_cast<uint8_t>(bytes.size()));
    input.push_back(static_cast<uint8_t>(bytes.size() >> 8));
    input.insert(input.end(), bytes.begin(), bytes.end());
}

std::vector<lumadisc::fuzz::Seed> seeds() {
    const std::vector<uint8_t> page = {0, 14, 0, 0, 0, 0, 0, 0, 0x0D, 6, 0, 0x21, 0, 60, 0, 75};
    std::vector<uint8_t> toc = {0, 26, 1, 2, 0, 0x14, 1, 0, 0, 0, 2, 0, 0, 0x10, 2, 0, 0, 0, 8, 0, 0, 0x10, 0xAA, 0, 0, 0, 12, 0};
    std::vector<uint8_t> fixedSense(18, 0), descriptorSense = {0x72, 2, 0x3A, 0, 0, 0, 0, 0};
    fixedSense[0] = 0x70;
    fixedSense[2] = 3;
    fixedSense[12] = 0x11;
    std::vector<uint8_t> healthy = {0};
    answer(healthy, true, {});
    answer(healthy, true, page);
    answer(healthy, true, {});
    answer(healthy, true, toc);
    answer(healthy, true, std::vector<uint8_t>(lumadisc::kRawSectorSize, 0xA5));
    answer(healthy, false, fixedSense);
    std::vector<uint8_t> failing = {1};
    answer(failing, false, {});
    answer(failing, false, descriptorSense);
    answer(failing, false, fixedSense);
    std::vector<uint8_t> manyTracks = {0};
    answer(manyTracks, true, {});
    answer(manyTracks, true, page);
    answer(manyTracks, true, {});
    toc.assign(lumadisc::kTocResponseSize, 0);
    toc[3] = 0xFF;
    for (int i = 0; i < lumadisc::kTocDescriptorCount; ++i) toc[4 + 8 * i + 5] = static_cast<uint8_t>(i);
    answer(manyTracks, true, toc);
    return {{"healthy.drive", healthy}, {"failing.drive", failing}, {"many.drive", manyTracks}};
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    lumadisc::fuzz::handleWriteSeeds(*argc, *argv, seeds);
    lumadisc::fuzz::scratchDirectory("lumadisc-fuzz-drive", true);
    lumadisc::settingsDefaults(&lumadisc::g_settings);
    lumadisc::g_settings.enablelogging = 1;
    std::snprintf(lumadisc::g_settings.current, sizeof lumadisc::g_settings.current, "/dev/fuzzed");
    lumadisc::logOpen("/dev/null");  // the log lines are formatted, then dropped
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ScriptedDrive drive(data, size);
    lumadisc::scsiPassthroughInstall(&drive);
    lumadisc::g_settings.speedlimitation = size % 33;
    lumadisc::g_settings.spindowntime = static_cast<int32_t>(size % 601);
    lumadisc::DiscDescription disc;
    const bool described = lumadisc::describeDrive("/dev/fuzzed", disc) == 0;
    // A drive whose table describes no disc was closed again with its description.
    if (!lumadisc::cdromIsOpen()) lumadisc::cdromOpen("/dev/fuzzed");
    uint8_t response[lumadisc::kTocResponseSize];
    lumadisc::cdromReadToc(response);
    lumadisc::TrackTable table;
    lumadisc::cdromTocTable(response, table);
    if (table.rows() < 1 || table.rows() > lumadisc::kTocDescriptorCount) std::abort();
    lumadisc::fuzz::checkTable(table, false);
    if (described) {
        lumadisc::CCdExtentData reader(disc.extents);
        lumadisc::CCdExtentSub sub(disc.extents, reader);
        sub.useStored(true);
        if (reader.open("/dev/fuzzed") != 0) std::abort();
        uint8_t sector[lumadisc::kRawSectorWithSubSize], block[lumadisc::kSubchannelSize];
        for (const lumadisc::Lba lba : {0, 16, -150}) {
            sub.read(lba, block);
            reader.read(lba, sector);
        }
        lumadisc::cdromReadSectorWithSub(16, sector);
        reader.close();
    }
    disc.extents.clear();
    lumadisc::cdromClose();
    if (lumadisc::cdromIsOpen()) std::abort();
    lumadisc::scsiPassthroughInstall(nullptr);
    return 0;
}
