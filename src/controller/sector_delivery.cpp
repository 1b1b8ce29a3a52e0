#include "controller/sector_delivery.h"

#include <algorithm>
#include <cstring>

#include "config/log.h"
#include "controller/commands.h"
#include "controller/controller_state.h"
#include "controller/events.h"
#include "controller/host_audio.h"
#include "controller/host_binding.h"
#include "disc/disc_model.h"

namespace lumadisc {

namespace {

ControllerState& s = g_controller;

constexpr uint32_t kDmaControlPlain = 0x11000000u;
constexpr uint32_t kDmaControlChopped = 0x11400100u;
constexpr int kSubmodeOffset = 6;  // in a half: header (4), file, channel, submode
constexpr uint8_t kSubmodeEndOfFile = 0x80;
constexpr uint32_t kRamAddressMask = 0x1FFFFF;

uint32_t idleHalf() { return (s.bufferToggle & 1u) ^ 1u; }

void notDefined() { logWrite(kLogController, "[CDR] Error: Not defined dma function\n"); }

// Copies n bytes to the emulated address. When the host maps the whole range as one block the copy
// is one call; otherwise (a range that wraps or runs off the host's memory) each byte is mapped on
// its own and a byte the host cannot map is skipped, so nothing is written where the host gave no
// pointer.
void copyToHost(uint32_t address, uint8_t* first, const uint8_t* from, uint32_t n) {
    if (n == 0) return;
    const auto* last = static_cast<const uint8_t*>(g_host.readDataAddr(address + n - 1));
    if (last == first + (n - 1)) {
        std::memcpy(first, from, n);
        return;
    }
    for (uint32_t i = 0; i < n; ++i) {
        auto* to = static_cast<uint8_t*>(g_host.readDataAddr(address + i));
        if (to != nullptr) *to = from[i];
    }
}

}  // namespace

void advanceLocation(uint8_t location[3]) {
    if (location[2] < 74) {
        ++location[2];
        return;
    }
    location[2] = 0;
    if (location[1] < 59) {
        ++location[1];
        return;
    }
    location[1] = 0;
    ++location[0];
}

uint64_t dmaWordCount(uint32_t blockControl) {
    const uint64_t size = blockControl & 0xFFFFu;
    const uint64_t count = blockControl >> 16;
    const uint64_t words = size * count;
    return words != 0 ? words : size;
}

void readSector() {
    psxcdrsystem.setLoc(lbaFromMsf(s.location[0], s.location[1], s.location[2]));
    psxcdrsystem.readData();
    const uint8_t* sector = psxcdrsystem.getDataBuffer();
    if (sector != nullptr) std::memcpy(s.sectorBuffer[idleHalf()], sector + kSectorHeaderOffset, kHalfDataSize);
}

void firstReadStep() {
    if (s.readMode == 0) return;
    const uint8_t answer = static_cast<uint8_t>(s.stat | kStatMotor);
    queueResponse(&answer, 1);
    if (s.seekDone == 0) {
        s.seekDone = 1;
        s.stat |= kStatSeeking | kStatMotor;
    }
    s.stat |= kStatReading | kStatMotor;
    s.irqFlag = kInt3Acknowledge;
    readSector();
    scheduleReadEvent(kFirstSectorTicks);
}

void deliverSector() {
    s.dataReady = 1;
    s.stat = static_cast<uint8_t>((s.stat | kStatReading | kStatMotor) & ~kStatSeeking);
    queueResponse(&s.stat, 1);
    const uint32_t half = idleHalf();
    s.sectorStart = halfOffset(half);
    s.bufferToggle = static_cast<uint8_t>(half);
    s.irqFlag = kInt1DataReady;
    xaDeliver(s.sectorBuffer[half]);
    advanceLocation(s.location);
    s.dataRequest = 0;
    if ((s.sectorBuffer[half][kSubmodeOffset] & kSubmodeEndOfFile) && (s.mode & kModeAutoPause)) {
        s.pendingStep = kStepPause;  // after the acknowledgement; no further sector is fetched
        s.deferredDelay = kStepDelay;
        return;
    }
    readSector();
    scheduleReadEvent(sectorTicks());
}

void requestData() {
    if (s.dataRequest != 0) return;
    s.dataRequest = 1;
    s.dataPointer = s.sectorStart;
    if (sectorDelivered() && (s.mode & kModeRawSector) == 0) s.dataPointer += kUserDataSkip;
}

uint8_t dataPortRead() {
    if (s.dataRequest == 0) return 0;
    if (dataBytesLeft() == 0) return 0;  // past the delivered half, or no sector yet
    return controllerBytes()[s.dataPointer++];
}

uint32_t psxDma3(uint32_t control) {
    const uint32_t address = g_host.dmaRegisters ? g_host.dmaRegisters[0] : 0;
    const uint32_t blockControl = g_host.dmaRegisters ? g_host.dmaRegisters[1] : 0;
    logWrite(kLogController, "[CDR] psxDma3:  %i  %i  %i\n", static_cast<int>(control), static_cast<int>(blockControl & 0xFFFFu),
             static_cast<int>(address & kRamAddressMask));
    if ((control != kDmaControlPlain && control != kDmaControlChopped) || s.dataRequest == 0 ||
        g_host.dmaRegisters == nullptr) {
        notDefined();
        return 0;
    }
    const uint64_t words = dmaWordCount(blockControl);
    auto* target = static_cast<uint8_t*>(g_host.readDataAddr(address));
    if (target == nullptr) {
        notDefined();
        return 0;
    }
    const uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(words * 4, dataBytesLeft()));
    copyToHost(address, target, controllerBytes() + s.dataPointer, n);
    s.dataPointer += n;
    return static_cast<uint32_t>(words * 2);
}

}  // namespace lumadisc
