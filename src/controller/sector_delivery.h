// Reading under ReadN and ReadS: the sector fetch into the idle half of the double buffer, the first
// read step, the delivery of one sector per readEvent, and the hand-out of the delivered half through
// the data port and DMA channel 3.
#pragma once

#include <cstdint>

namespace lumadisc {

// Fetches the sector at location into the half that is not delivered.
void readSector();
// Step 0xFA, performed 4096 ticks after ReadN or ReadS.
void firstReadStep();
// The delivery part of readEvent: swaps halves, answers INT1 and decides on the next sector.
void deliverSector();
// Byte 0x80 at port 0x1803 (even index).
void requestData();
// A read of port 0x1802.
uint8_t dataPortRead();
// DMA channel 3 started with the given control word; returns words x 2, or 0 when refused.
uint32_t psxDma3(uint32_t control);

// One frame on: frame 74 carries into the second, second 59 into the minute.
void advanceLocation(uint8_t location[3]);
// Words a block control asks for: count x size, or the size when the product is 0.
uint64_t dmaWordCount(uint32_t blockControl);

}  // namespace lumadisc
