// The patch set of the open disc: byte runs from a ".ppf" file beside the image, written over every
// sector read before it enters the data cache.
#pragma once

#include "disc/disc_model.h"

namespace lumadisc {

class CCdPpfPatch {
public:
    // Loads the patch file of imagePath; 0, or -1 when there is none (reads stay unpatched).
    int load(const char* imagePath);
    void apply(Lba lba, uint8_t* sector);
    int release();
};

}  // namespace lumadisc
