// CUE sheet images: any number of FILE entries (BINARY, MOTOROLA, or sound files), each with its
// tracks in any of the sheet's modes, laid out as an extent table from which the track table, the
// sectors and the generated subchannel are read.
#pragma once

#include "formats/extent_disc.h"

namespace lumadisc {

// The largest sheet the reader takes; real sheets are a few kilobytes.
constexpr int64_t kMaxSheetBytes = 1 << 20;

// Describes the sheet at path and its files; 0, or -1 after the log line naming the reason.
int describeCueSheet(const char* path, DiscDescription& disc);

}  // namespace lumadisc
