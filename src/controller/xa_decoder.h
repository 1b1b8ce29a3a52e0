// CD-ROM XA ADPCM: one form 2 audio sector (18 sound groups of 128 bytes) into 16-bit PCM.
#pragma once

#include <cstdint>

#include "lumadisc/host_api.h"

namespace lumadisc {

constexpr int kXaSoundGroups = 18;
constexpr int kXaGroupSize = 128;
constexpr int kXaUnitsPerGroup = 8;
constexpr int kXaSamplesPerUnit = 28;
// Bytes decodeXaSector reads from the subheader on: the subheader (4), its copy (4), the sound groups.
constexpr int kXaSectorSpan = 8 + kXaSoundGroups * kXaGroupSize;
constexpr int32_t kXaMonoSamples = kXaSoundGroups * kXaUnitsPerGroup * kXaSamplesPerUnit;  // 4032

// Decodes the sector whose subheader is at `subheader` (kXaSectorSpan readable bytes) into `xa`.
// With `first` nonzero the format (rate, width, channels, sample count) is taken from the sector's
// coding byte and the history starts from silence; with `first` 0 the format and history of the
// previous sector carry on. Returns 0, or -1 (leaving `xa` untouched) when a first sector names a
// reserved rate.
int32_t decodeXaSector(XaAudio* xa, const uint8_t* subheader, int32_t first);

}  // namespace lumadisc
