// The executable disc, chosen by a disc path ending in ".exe": one data track whose first 23 sectors
// come from the built-in template (a file system naming "PSX.EXE;1" at Lba 23) and whose later
// sectors are Mode 2 Form 1 sectors made from the executable file, 2048 bytes each, up to the end of
// the volume the template announces.
#pragma once

#include "formats/extent_disc.h"

namespace lumadisc {

// Describes the disc around the executable at path; a data disc. 0, or -1 after its log line when the
// file cannot be read.
int describeExecutableDisc(const char* path, DiscDescription& disc);

}  // namespace lumadisc
