#include "formats/executable_disc.h"

#include <cstring>

#include "config/log.h"
#include "config/settings.h"
#include "formats/disc_template.h"

namespace lumadisc {

CCdAutoToc g_autoToc;
CCdExecutableData g_executableData;

namespace {

constexpr int kHeaderOffset = 12;
constexpr int kSubheaderOffset = 16;
constexpr int kDataOffset = 24;
constexpr int kDataSize = 2048;
constexpr uint8_t kForm1Subheader[8] = {0x00, 0x00, 0x08, 0x00, 0x00, 0x00, 0x08, 0x00};

static_assert(disc_template::kSectorSize == kRawSectorSize);

// Sync, BCD absolute time of lba and mode 2; wide arithmetic so that no Lba overflows.
void writeHeader(Lba lba, uint8_t* sector) {
    std::memcpy(sector, kSectorSync, sizeof kSectorSync);
    const int64_t frames = static_cast<int64_t>(lba) + kLeadInFrames;
    sector[kHeaderOffset] = bcdFromBinary(static_cast<int>(frames / kFramesPerMinute % 256));
    sector[kHeaderOffset + 1] = bcdFromBinary(static_cast<int>(frames / kFramesPerSecond % kSecondsPerMinute));
    sector[kHeaderOffset + 2] = bcdFromBinary(static_cast<int>(frames % kFramesPerSecond));
    sector[kHeaderOffset + 3] = 2;
}

}  // namespace

int CCdAutoToc::open() {
    table_.clear();
    table_.append(kTrackData, disc_template::kVolumeSectors);
    table_.append(kTrackData, 0);
    return 0;
}

int CCdExecutableData::open() {
    if (!file_.open(g_settings.current)) {
        logWrite(0, "[CDR] Error: data file not opened (%s).\n", g_settings.current);
        return -1;
    }
    return 0;
}

int CCdExecutableData::read(Lba lba, uint8_t* sector) {
    if (!file_.isOpen()) return 0;
    if (lba < 0) return -1;
    if (lba < disc_template::kSectors) {
        std::memcpy(sector, disc_template::kBytes + static_cast<size_t>(lba) * kRawSectorSize, kRawSectorSize);
        return 0;
    }
    writeHeader(lba, sector);
    std::memcpy(sector + kSubheaderOffset, kForm1Subheader, sizeof kForm1Subheader);
    file_.readRecord(lba - disc_template::kExecutableExtent, kDataSize, sector + kDataOffset);
    return 0;
}

}  // namespace lumadisc
