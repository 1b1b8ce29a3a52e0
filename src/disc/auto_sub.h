// The generated subchannel: every sector described as part of data track 1, index 1, from Lba 0.
#pragma once

#include <cstdint>

#include "disc/disc_model.h"
#include "disc/reader_interfaces.h"

namespace lumadisc {

// Writes the generated 96-byte block for lba.
void generateSubchannel(Lba lba, uint8_t* block);

class CCdAutoSub final : public CCdVirtualSub {
public:
    int open(const char*) override { return 0; }
    void close() override {}
    int read(Lba lba, uint8_t* block) override {
        generateSubchannel(lba, block);
        return 0;
    }
};

extern CCdAutoSub g_autoSub;

}  // namespace lumadisc
