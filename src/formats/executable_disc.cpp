#include "formats/executable_disc.h"

#include <cstring>

#include "config/log.h"
#include "formats/disc_template.h"

namespace lumadisc {

CCdAutoToc g_autoToc;
CCdExecutableData g_executableData;

namespace {

constexpr uint8_t kSubmodeData = 0x08;

static_assert(disc_template::kSectorSize == kRawSectorSize);

}  // namespace

int CCdAutoToc::open(const char*) {
    table_.clear();
    table_.append(kTrackData, disc_template::kVolumeSectors);
    table_.append(kTrackData, 0);
    return 0;
}

int CCdExecutableData::open(const char* path) {
    if (!file_.open(path)) {
        logWrite(kLogPlugin, "[CDR] Error: data file not opened (%s).\n", path);
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
    writeSectorHeader(sector, lba, 2);
    writeSubheader(sector, 0, 0, kSubmodeData, 0);
    file_.readRecord(lba - disc_template::kExecutableExtent, kForm1UserSize, sector + kMode2DataOffset);
    return file_.readFailed() ? -1 : 0;
}

}  // namespace lumadisc
