// The command processor: a command byte latched at the command port, its first-stage action, and the
// steps that interruptEvent performs later with their responses and interrupt numbers.
#pragma once

#include <cstdint>

namespace lumadisc {

constexpr uint8_t kStepNone = 0xFF;
constexpr uint8_t kStepReport = 0xF8;
constexpr uint8_t kStepFirstRead = 0xFA;
constexpr uint8_t kStepPause = 0x09;

// Drive status bits.
constexpr uint8_t kStatError = 0x01;
constexpr uint8_t kStatMotor = 0x02;
constexpr uint8_t kStatShellOpen = 0x10;
constexpr uint8_t kStatReading = 0x20;
constexpr uint8_t kStatSeeking = 0x40;
constexpr uint8_t kStatPlaying = 0x80;

// Mode bits.
constexpr uint32_t kModeCdda = 0x01;
constexpr uint32_t kModeAutoPause = 0x02;
constexpr uint32_t kModeReport = 0x04;
constexpr uint32_t kModeRawSector = 0x20;
constexpr uint32_t kModeDoubleSpeed = 0x80;

constexpr uint8_t kStatusBusy = 0x80;

// A byte written to port 0x1801.
void commandWrite(uint8_t command);
// Mode to 2340-byte sectors, filter 1/1, track 1, demuted.
void controllerReset();
// Performs one step of the step table (a code with no step does nothing).
void performStep(uint8_t step);
// Replaces the response queue with count bytes (at most 8) and makes it readable.
void queueResponse(const uint8_t* bytes, int count);

}  // namespace lumadisc
