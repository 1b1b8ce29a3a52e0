// Sense data as a drive returns it, the names of the sense keys and of the additional sense codes a
// CD-ROM drive reports, and the report written to the log when a drive command fails.
#pragma once

#include <cstddef>
#include <cstdint>

#include "drive/scsi_passthrough.h"

namespace lumadisc {

// The codes in sense bytes of the fixed (0x70/0x71) or descriptor (0x72/0x73) format; zeros for
// anything else or for bytes too short to hold them.
SenseCodes senseDecode(const uint8_t* bytes, size_t length);
// The name of a sense key (only its low four bits count).
const char* senseKeyName(uint8_t key);
// The text of an ASC/ASCQ pair, or null when the pair is not one a CD-ROM drive is known to report.
const char* senseCodeText(uint8_t asc, uint8_t ascq);
// Writes the three values and their names to the log.
void senseReport(uint8_t key, uint8_t asc, uint8_t ascq);

}  // namespace lumadisc
