// The emulated CD-ROM controller's whole state: one block of fixed layout that a save state copies
// as it stands. The two positions into the sector buffer are byte offsets from the start of the block
// (not addresses), so a state saved by one process restores in another.
#pragma once

#include <cstddef>
#include <cstdint>

#include "lumadisc/host_api.h"

namespace lumadisc {

constexpr uint32_t kHalfSize = 2352;      // one half of the sector buffer
constexpr uint32_t kHalfDataSize = 2340;  // bytes a half holds: the raw sector from its header on
constexpr uint32_t kUserDataSkip = 12;    // header and subheaders ahead of the user data

// The controller's interrupt numbers, as the console reads them from the flag register.
enum ControllerInterrupt : uint8_t {
    kIntNone = 0,
    kInt1DataReady = 1,    // a sector is in the buffer
    kInt2Complete = 2,     // the second response of a command
    kInt3Acknowledge = 3,  // the first response of a command
    kInt4DataEnd = 4,      // the end of a track while playing
    kInt5Error = 5,        // an error response
};

struct ControllerState {
    uint8_t dataReady;        // 1 from a sector's delivery until the next command write
    uint8_t reserved1;
    uint8_t irqEnable;        // last byte written to port 0x1802 at an odd index, other than 7
    uint8_t reserved3;
    uint8_t statusRegister;   // bits 0-1 index, 3-4 read as 1, 5 response, 6 data, 7 busy
    uint8_t irqFlag;          // interrupt waiting for acknowledgement, 1..5; 0 none
    uint8_t stat;             // drive status byte of the responses
    uint8_t reserved7;
    uint32_t dataOffset;      // dataPointer - sectorStart, written by SaveState
    uint8_t bufferToggle;     // half that holds the delivered sector
    uint8_t reserved13[3];
    uint32_t sectorStart;     // offset of the delivered half in this block; 0 before the first delivery
    uint32_t dataPointer;     // offset of the next byte the data port or DMA hands out
    uint8_t sectorBuffer[2][kHalfSize];
    uint8_t reserved4728[4];
    uint8_t paramFifo[8];
    uint8_t responseFifo[8];
    uint8_t reserved4748;
    uint8_t paramCount;
    uint8_t responseLength;
    uint8_t responseIndex;
    uint8_t responseReady;
    uint8_t command;
    uint8_t dataRequest;      // 0 none, 1 requested and readable, 0xFF read started and no sector yet
    uint8_t reserved4755;
    uint32_t readMode;        // 0 not reading, 1 ReadN, 2 ReadS
    uint8_t tocTracks[2];     // first and last track (binary)
    uint8_t reserved4762[4];
    uint8_t trackStart[3];    // minute, second, frame (binary)
    uint8_t reserved4769;
    uint8_t location[3];      // minute, second, frame of the next sector to read (binary)
    uint8_t reserved4773[7];
    uint32_t cddaPlaying;
    uint32_t playTrack;
    uint8_t savedPlayPosition[3];  // absolute minute, second, frame of CD audio (binary)
    uint8_t reserved4791;
    uint32_t mode;
    uint32_t filterFile;
    uint32_t filterChannel;
    uint8_t reserved4804[12];
    int32_t xaState;          // 1 first sector of a read, 0 decoding, -1 refused
    XaAudio xa;
    uint8_t reserved37620[4];
    uint8_t pendingStep;      // next step of interruptEvent; 0xFF none
    uint8_t reserved37625[3];
    uint32_t deferredDelay;   // half the ticks from the acknowledgement to the next step
    uint32_t seekDone;
    uint32_t muted;
    uint8_t reserved37640[16];
    uint8_t reserved37656[4084];
};

static_assert(offsetof(ControllerState, dataReady) == 0);
static_assert(offsetof(ControllerState, irqEnable) == 2);
static_assert(offsetof(ControllerState, statusRegister) == 4);
static_assert(offsetof(ControllerState, irqFlag) == 5);
static_assert(offsetof(ControllerState, stat) == 6);
static_assert(offsetof(ControllerState, dataOffset) == 8);
static_assert(offsetof(ControllerState, bufferToggle) == 12);
static_assert(offsetof(ControllerState, sectorStart) == 16);
static_assert(offsetof(ControllerState, dataPointer) == 20);
static_assert(offsetof(ControllerState, sectorBuffer) == 24);
static_assert(offsetof(ControllerState, reserved4728) == 4728);
static_assert(offsetof(ControllerState, paramFifo) == 4732);
static_assert(offsetof(ControllerState, responseFifo) == 4740);
static_assert(offsetof(ControllerState, reserved4748) == 4748);
static_assert(offsetof(ControllerState, paramCount) == 4749);
static_assert(offsetof(ControllerState, responseLength) == 4750);
static_assert(offsetof(ControllerState, responseIndex) == 4751);
static_assert(offsetof(ControllerState, responseReady) == 4752);
static_assert(offsetof(ControllerState, command) == 4753);
static_assert(offsetof(ControllerState, dataRequest) == 4754);
static_assert(offsetof(ControllerState, readMode) == 4756);
static_assert(offsetof(ControllerState, tocTracks) == 4760);
static_assert(offsetof(ControllerState, reserved4762) == 4762);
static_assert(offsetof(ControllerState, trackStart) == 4766);
static_assert(offsetof(ControllerState, location) == 4770);
static_assert(offsetof(ControllerState, reserved4773) == 4773);
static_assert(offsetof(ControllerState, cddaPlaying) == 4780);
static_assert(offsetof(ControllerState, playTrack) == 4784);
static_assert(offsetof(ControllerState, savedPlayPosition) == 4788);
static_assert(offsetof(ControllerState, mode) == 4792);
static_assert(offsetof(ControllerState, filterFile) == 4796);
static_assert(offsetof(ControllerState, filterChannel) == 4800);
static_assert(offsetof(ControllerState, reserved4804) == 4804);
static_assert(offsetof(ControllerState, xaState) == 4816);
static_assert(offsetof(ControllerState, xa) == 4820);
static_assert(offsetof(ControllerState, reserved37620) == 37620);
static_assert(offsetof(ControllerState, pendingStep) == 37624);
static_assert(offsetof(ControllerState, deferredDelay) == 37628);
static_assert(offsetof(ControllerState, seekDone) == 37632);
static_assert(offsetof(ControllerState, muted) == 37636);
static_assert(offsetof(ControllerState, reserved37640) == 37640);
static_assert(offsetof(ControllerState, reserved37656) == 37656);
static_assert(sizeof(ControllerState) == LUMADISC_CONTROLLER_STATE_SIZE);

inline ControllerState g_controller;

// Offset of half h (0 or 1) in the block.
constexpr uint32_t halfOffset(uint32_t half) {
    return static_cast<uint32_t>(offsetof(ControllerState, sectorBuffer)) + (half & 1u) * kHalfSize;
}

inline uint8_t* controllerBytes() { return reinterpret_cast<uint8_t*>(&g_controller); }

// True when sectorStart designates one of the halves (a sector has been delivered).
inline bool sectorDelivered() {
    return g_controller.sectorStart == halfOffset(0) || g_controller.sectorStart == halfOffset(1);
}

// The delivered half, or null before the first delivery.
inline const uint8_t* deliveredHalf() {
    return sectorDelivered() ? controllerBytes() + g_controller.sectorStart : nullptr;
}

// Bytes the data port and DMA may still hand out from dataPointer: never past the delivered half.
inline uint32_t dataBytesLeft() {
    if (!sectorDelivered()) return 0;
    const uint32_t end = g_controller.sectorStart + kHalfDataSize;
    const uint32_t at = g_controller.dataPointer;
    return at >= g_controller.sectorStart && at < end ? end - at : 0;
}

// Index bits 0-1 of the status register.
inline uint32_t portIndex() { return g_controller.statusRegister & 3u; }

}  // namespace lumadisc
