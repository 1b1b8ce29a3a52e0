#include "drive/cdrom_drive.h"

#include <cstring>

#include "config/log.h"
#include "config/settings.h"
#include "disc/cd_utility.h"
#include "drive/sense_messages.h"

namespace lumadisc {


namespace {

constexpr int kSingleSpeed = 177;  // kilobytes per second
constexpr int kModePageSize = 16;  // 8-byte header and the CD device parameters page
constexpr int kInactivityByte = 11;
constexpr uint8_t kReadCdFullSector = 0xF8;  // sync, headers, user data, EDC and ECC
constexpr uint8_t kRawSubchannel = 0x01;

// One drive per process, shared by the three readers.
struct DriveState {
    int handle = -1;
    bool open = false;
    SenseCodes lastSense;
};
DriveState g_drive;

struct TocDescriptor {
    int control, adr, track, minute, second, frame;
};

TocDescriptor descriptorAt(const uint8_t* response, int index) {
    const uint8_t* d = response + 4 + 8 * index;
    return {d[1] & 0x0F, d[1] >> 4, d[2], d[5], d[6], d[7]};
}

Lba descriptorLba(const TocDescriptor& d) { return lbaFromMsf(d.minute, d.second, d.frame); }

// The last track number, cut to the descriptors the response can hold.
int lastDescriptor(const uint8_t* response) {
    const int last = response[3];
    return last < kTocDescriptorCount ? last : kTocDescriptorCount - 1;
}

void readCommand(uint8_t* block, Lba lba, uint8_t subchannel) {
    std::memset(block, 0, kCommandBlockSize);
    block[0] = 0xBE;
    writeBe32(block + 2, static_cast<uint32_t>(lba));
    block[8] = 1;
    block[9] = kReadCdFullSector;
    block[10] = subchannel;
}

}  // namespace

int scsiCommand(const uint8_t* commandBlock, uint8_t* buffer, uint32_t length, ScsiDirection direction) {
    if (length == 0) direction = ScsiDirection::kNone;
    SenseCodes sense;
    if (scsiPassthrough().execute(g_drive.handle, commandBlock, buffer, length, direction, kDriveTimeoutMs,
                                  &sense) == 0)
        return 0;
    g_drive.lastSense = sense;
    senseReport(sense.key, sense.asc, sense.ascq);
    return -1;
}

int cdromOpen(const char* path) {
    if (g_drive.open) return 0;
    ScsiPassthrough& passthrough = scsiPassthrough();
    if (!passthrough.isOpticalDrive(path)) return -1;
    bool readOnly = false;
    g_drive.handle = passthrough.open(path, &readOnly);
    if (g_drive.handle < 0) {
        logWrite(kLogPlugin, "[CDR] Error: cdrom device not opened (%s).\n", path);
        return -1;
    }
    if (readOnly) logWrite(kLogPlugin, "[CDR] Warning: cdrom device opened read-only (%s).\n", path);
    const int limit = g_settings.speedlimitation;
    cdromSetSpeed(limit > 0 ? kSingleSpeed * limit : kMaxDriveSpeed);
    cdromSetSpinDownTime(g_settings.spindowntime);
    g_drive.open = true;
    return 0;
}

void cdromClose() {
    if (!g_drive.open) return;
    cdromSetSpeed(kMaxDriveSpeed);
    cdromSetSpinDownTime(0);
    scsiPassthrough().close(g_drive.handle);
    g_drive.handle = -1;
    g_drive.open = false;
}

bool cdromIsOpen() { return g_drive.open; }

int cdromSetSpeed(int speed) {
    logWrite(kLogPlugin, "[CDR] cdromSetSpeed(%i).\n", speed);
    uint8_t block[kCommandBlockSize] = {0xBB};
    writeBe16(block + 2, static_cast<uint32_t>(speed));
    return scsiCommand(block, nullptr, 0, ScsiDirection::kNone);
}

int cdromSetSpinDownTime(int value) {
    logWrite(kLogPlugin, "[CDR] cdromSetSpinDownTime(%i).\n", value);
    uint8_t page[kModePageSize] = {};
    uint8_t modeSense[kCommandBlockSize] = {0x5A, 0x00, 0x0D};
    writeBe16(modeSense + 7, kModePageSize);
    if (const int result = scsiCommand(modeSense, page, sizeof page); result != 0) return result;
    page[0] = page[1] = 0;
    page[kInactivityByte] = static_cast<uint8_t>((page[kInactivityByte] & 0xF0) | (value & 0x0F));
    uint8_t modeSelect[kCommandBlockSize] = {0x55, 0x10};
    writeBe16(modeSelect + 7, kModePageSize);
    return scsiCommand(modeSelect, page, sizeof page, ScsiDirection::kToDevice);
}

int cdromReadToc(uint8_t* response) {
    std::memset(response, 0, kTocResponseSize);
    uint8_t block[kCommandBlockSize] = {0x43, 0x02};
    writeBe16(block + 7, kTocResponseSize);
    const int result = scsiCommand(block, response, kTocResponseSize);
    logWrite(kLogPlugin, "[CDR] TOC:\n");
    const int last = lastDescriptor(response);
    for (int i = 0; i <= last; ++i) {
        const TocDescriptor d = descriptorAt(response, i);
        logWrite(kLogPlugin, "[CDR] track[%.2i]: %i %i %.2x  %.2i:%.2i:%.2i\n", i, d.control, d.adr, d.track,
                 d.minute, d.second, d.frame);
    }
    logWrite(kLogPlugin, "[CDR] Length: %i\n", descriptorLba(descriptorAt(response, last)));
    return result;
}

int cdromReadSector(Lba lba, uint8_t* sector) {
    uint8_t block[kCommandBlockSize];
    readCommand(block, lba, 0);
    return scsiCommand(block, sector, kRawSectorSize);
}

int cdromReadSectorWithSub(Lba lba, uint8_t* buffer) {
    uint8_t block[kCommandBlockSize];
    readCommand(block, lba, kRawSubchannel);
    return scsiCommand(block, buffer, kRawSectorWithSubSize);
}

SenseCodes cdromLastSense() { return g_drive.lastSense; }

void cdromTocTable(const uint8_t* response, TrackTable& table) {
    table.clear();
    const int last = lastDescriptor(response);
    table.append(kTrackData, descriptorLba(descriptorAt(response, last)));
    for (int i = 0; i < last; ++i) {
        const TocDescriptor d = descriptorAt(response, i);
        table.append((d.control & 0x0C) == 4 ? kTrackData : kTrackAudio, descriptorLba(d));
    }
}

}  // namespace lumadisc
