// Timing of the emulated controller: the four events the host fires after a number of CPU ticks, the
// delays between a command, its steps and the sectors of a read, and the acknowledgement that paces
// them. The controller keeps no clock of its own.
#pragma once

#include <cstdint>

namespace lumadisc {

constexpr uint32_t kCommandTicks = 4096;           // command written -> first step; every retry
constexpr uint32_t kPauseTicks = 524288;           // Pause written -> its first step
constexpr uint32_t kFirstSectorTicks = 524288;     // first read step -> first sector
constexpr uint32_t kSingleSpeedSectorTicks = 903168;
constexpr uint32_t kDoubleSpeedSectorTicks = 451584;
constexpr uint32_t kReportStepTicks = 32;          // report tick -> report step
constexpr uint32_t kReportTicks = 3386880;         // report tick period
constexpr uint32_t kCoverCloseTicks = 11289600;    // cover-close key or disc swap -> cover closed
constexpr uint32_t kStepDelay = 0x800;             // deferredDelay of a second step (x 2 ticks)
constexpr uint32_t kReportDelay = 16;              // deferredDelay of a report held back

// One sector time at the speed mode bit 7 selects.
uint32_t sectorTicks();

void scheduleInterruptEvent(uint32_t ticks);  // logs the delay
void scheduleReadEvent(uint32_t ticks);       // logs the delay
void cancelReadEvent();
void scheduleCoverClosedEvent(uint32_t ticks);
void scheduleReportEvent(uint32_t ticks);

// Raises the CPU's CD-ROM interrupt line.
void raiseCpuInterrupt();

// The CPU wrote 7 to port 0x1803 at an odd index.
void acknowledgeInterrupt();

// The events, registered with the host in Open.
long interruptEvent();
long readEvent();
long coverClosedEvent();
long reportEvent();

}  // namespace lumadisc
