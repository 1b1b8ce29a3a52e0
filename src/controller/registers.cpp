#include "controller/registers.h"

#include "config/log.h"
#include "controller/commands.h"
#include "controller/controller_state.h"
#include "controller/events.h"
#include "controller/sector_delivery.h"

namespace lumadisc {

namespace {

ControllerState& s = g_controller;

constexpr uint8_t kStatusFixedBits = 0x18;
constexpr uint8_t kStatusResponseReady = 0x20;
constexpr uint8_t kStatusDataReady = 0x40;
constexpr uint8_t kAcknowledge = 7;
constexpr uint8_t kDataRequest = 0x80;

uint8_t readStatus() {
    uint8_t status = s.statusRegister & static_cast<uint8_t>(~(kStatusResponseReady | kStatusDataReady));
    status |= kStatusFixedBits;
    if (s.responseReady) status |= kStatusResponseReady;
    if (s.dataReady) status |= kStatusDataReady;
    s.statusRegister = status;
    return status;
}

uint8_t readResponse() {
    if (!s.responseReady) return 0;
    // The queue holds 8 bytes; an index re-armed past them reads 0.
    const uint8_t value = s.responseIndex < sizeof s.responseFifo ? s.responseFifo[s.responseIndex] : 0;
    ++s.responseIndex;
    if (s.responseIndex == s.responseLength) s.responseReady = 0;
    return value;
}

uint8_t readInterrupt() {
    if (s.irqFlag == kIntNone) return 0;
    return (portIndex() & 1u) ? static_cast<uint8_t>(s.irqFlag | 0xE0) : 0xFF;
}

void writeStatus(uint8_t value) {
    s.statusRegister = static_cast<uint8_t>((s.statusRegister & ~3u) | value);
    if (value == 0) {
        s.paramCount = 0;
        s.responseReady = 0;
    }
}

void writeParameter(uint8_t value) {
    if ((portIndex() & 1u) == 0) {
        if (s.paramCount < sizeof s.paramFifo) s.paramFifo[s.paramCount++] = value;
        return;
    }
    if (value == kAcknowledge) {
        s.paramCount = 0;
        s.responseReady = 1;
        s.statusRegister &= static_cast<uint8_t>(~3u);
        return;
    }
    s.irqEnable = value;
}

void writeInterrupt(uint8_t value) {
    if (portIndex() & 1u) {
        if (value == kAcknowledge) acknowledgeInterrupt();
    } else if (value == kDataRequest) {
        requestData();
    }
}

}  // namespace

uint32_t ReadCdrByte(uint32_t port) {
    uint8_t value = 0;
    switch (port) {
    case kPortStatus: value = readStatus(); break;
    case kPortCommand: value = readResponse(); break;
    case kPortParameter: value = dataPortRead(); break;
    case kPortInterrupt: value = readInterrupt(); break;
    default: break;
    }
    logWrite(kLogController, "[CDR] ReadCdrByte:   0x%.8x  0x%.8x\n", port, static_cast<uint32_t>(value));
    return value;
}

void WriteCdrByte(uint32_t value, uint32_t port) {
    const uint8_t byte = static_cast<uint8_t>(value);
    switch (port) {
    case kPortStatus: writeStatus(byte); break;
    case kPortCommand: commandWrite(byte); break;
    case kPortParameter: writeParameter(byte); break;
    case kPortInterrupt: writeInterrupt(byte); break;
    default: break;
    }
    logWrite(kLogController, "[CDR] WriteCdrByte:  0x%.8x  0x%.8x\n", port, static_cast<uint32_t>(byte));
}

}  // namespace lumadisc
