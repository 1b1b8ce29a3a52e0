// A physical CD-ROM drive read through MMC commands: the drive functions (open and set up, table of
// contents, raw sectors, restore at close) that the drive's disc description reads through.
#pragma once

#include <cstdint>

#include "disc/reader_interfaces.h"
#include "disc/track_table.h"
#include "drive/scsi_passthrough.h"

namespace lumadisc {

constexpr uint32_t kDriveTimeoutMs = 5000;
// READ TOC format 0: a 4-byte header and up to 100 descriptors of 8 bytes.
constexpr int kTocResponseSize = 804;
constexpr int kTocDescriptorCount = 100;
// A raw sector followed by its raw (interleaved) P-W subchannel.
constexpr int kRawSectorWithSubSize = kRawSectorSize + kSubchannelSize;
constexpr int kMaxDriveSpeed = 65535;

// Sends a command block to the open drive. 0, or -1 after the sense report.
int scsiCommand(const uint8_t* commandBlock, uint8_t* buffer, uint32_t length,
                ScsiDirection direction = ScsiDirection::kFromDevice);
// Opens the drive at path and applies the speed limit and spin-down time; 0 when already open.
int cdromOpen(const char* path);
// Restores full speed and the drive's own spin-down time, then closes; nothing when not open.
void cdromClose();
bool cdromIsOpen();
// Speed in kilobytes per second, kMaxDriveSpeed for the drive's maximum.
int cdromSetSpeed(int speed);
int cdromSetSpinDownTime(int value);
// Reads the table of contents (format 0, MSF) into kTocResponseSize bytes and logs it.
int cdromReadToc(uint8_t* response);
// One raw 2352-byte sector.
int cdromReadSector(Lba lba, uint8_t* sector);
// One raw sector and its 96 bytes of raw P-W subchannel (kRawSectorWithSubSize bytes).
int cdromReadSectorWithSub(Lba lba, uint8_t* buffer);
// The codes of the last command that failed.
SenseCodes cdromLastSense();

// The track table of a READ TOC response: row 0 the lead-out, then one row per track descriptor.
void cdromTocTable(const uint8_t* response, TrackTable& table);

}  // namespace lumadisc
