#include "controller/commands.h"

#include <cstring>
#include <initializer_list>

#include "config/log.h"
#include "config/settings.h"
#include "controller/controller_state.h"
#include "controller/events.h"
#include "controller/host_binding.h"
#include "controller/licence_region.h"
#include "controller/sector_delivery.h"
#include "disc/disc_model.h"

namespace lumadisc {

namespace {

ControllerState& s = g_controller;

enum : uint8_t {
    kSync = 0x00, kGetStat = 0x01, kSetloc = 0x02, kPlay = 0x03, kForward = 0x04, kBackward = 0x05,
    kReadN = 0x06, kMotorOn = 0x07, kStop = 0x08, kPause = 0x09, kInit = 0x0A, kMute = 0x0B,
    kDemute = 0x0C, kSetfilter = 0x0D, kSetmode = 0x0E, kGetparam = 0x0F, kGetlocL = 0x10,
    kGetlocP = 0x11, kGetTN = 0x13, kGetTD = 0x14, kSeekL = 0x15, kSeekP = 0x16, kTest = 0x19,
    kGetID = 0x1A, kReadS = 0x1B, kReset = 0x1C, kReadTOC = 0x1E,
    // Second steps.
    kPauseDone = 0x29, kInitDone = 0x2A, kSeekLDone = 0x35, kSeekPDone = 0x36, kGetIDDone = 0x3A,
    kReadTOCDone = 0x3E,
};

// Sector number of a binary minute, second, frame.
Lba lbaOf(const uint8_t msf[3]) { return lbaFromMsf(msf[0], msf[1], msf[2]); }

bool cddaEnabled() { return settingLive(g_settings.playcdda) != 0; }

void stopReading() {
    if (s.readMode == 0) return;
    s.readMode = 0;
    cancelReadEvent();
}

void stopAudio() {
    if (s.cddaPlaying) {
        if (cddaEnabled()) psxcdrsystem.stopCDDA();
        s.stat &= static_cast<uint8_t>(~kStatPlaying);
        s.cddaPlaying = 0;
    }
    stopReading();
}

void startRead(uint32_t readMode) {
    stopReading();
    s.readMode = readMode;
    s.xaState = 1;
    s.dataRequest = 0xFF;
}

void play() {
    const uint8_t* at = s.location;
    if (at[0] == 0 && at[1] == 0 && at[2] == 0) {
        at = nullptr;
        if (psxcdrsystem.getTN(s.tocTracks) != -1) {
            s.playTrack = static_cast<uint32_t>(binaryFromBcd(s.paramFifo[0]));
            if (s.playTrack > s.tocTracks[1]) s.playTrack = s.tocTracks[1];
            if (psxcdrsystem.getTD(static_cast<uint8_t>(s.playTrack), s.trackStart) != -1) at = s.trackStart;
        }
    }
    if (at != nullptr && cddaEnabled()) {
        psxcdrsystem.setLoc(lbaOf(at));
        psxcdrsystem.playCDDA();
    }
    s.cddaPlaying = 1;
}

// First stage of a command with an action; false for a code without one.
bool firstStage(uint8_t command) {
    switch (command) {
    case kSync: case kGetStat: case kForward: case kBackward: case kGetparam: case kGetlocL:
    case kGetlocP: case kGetTN: case kGetTD: case kSeekL: case kSeekP: case kTest: case kGetID:
    case kReadTOC:
        break;
    case kSetloc:
        stopReading();
        s.seekDone = 0;
        for (int i = 0; i < 3; ++i) s.location[i] = static_cast<uint8_t>(binaryFromBcd(s.paramFifo[i]));
        break;
    case kPlay: play(); break;
    case kReadN: startRead(1); break;
    case kReadS: startRead(2); break;
    case kMotorOn: case kStop: case kPause: stopAudio(); break;
    case kInit: case kReset:
        controllerReset();
        stopAudio();
        break;
    case kMute: s.muted = 1; break;
    case kDemute: s.muted = 0; break;
    case kSetfilter:
        s.filterFile = s.paramFifo[0];
        s.filterChannel = s.paramFifo[1];
        break;
    case kSetmode: s.mode = s.paramFifo[0]; break;
    default: return false;
    }
    return true;
}

// ---- Steps ----

void answer(uint8_t irq, std::initializer_list<uint8_t> bytes) {
    queueResponse(bytes.begin(), static_cast<int>(bytes.size()));
    s.irqFlag = irq;
}

// The usual one-byte answer: stat with the motor bit, which stat keeps.
void answerStat(uint8_t irq) {
    s.stat |= kStatMotor;
    answer(irq, {s.stat});
}

void nextStep(uint8_t step) {
    s.pendingStep = step;
    s.deferredDelay = kStepDelay;
}

void answerGetStat() {
    if (g_shellOpenFlag) {
        answer(kInt3Acknowledge, {static_cast<uint8_t>((s.stat | kStatError | kStatShellOpen) & ~kStatMotor)});
    } else {
        answer(kInt3Acknowledge, {s.stat});
    }
}

void answerGetlocL() {
    uint8_t bytes[8] = {};
    if (const uint8_t* half = deliveredHalf()) std::memcpy(bytes, half, sizeof bytes);
    queueResponse(bytes, 8);
    s.irqFlag = kInt3Acknowledge;
}

// Copies Q bytes of the current subchannel block to out; out keeps its bytes when the reader hands
// out no block.
void copyQBytes(uint8_t* out, std::initializer_list<int> qBytes) {
    const uint8_t* block = psxcdrsystem.getSubsBuffer();
    if (block == nullptr) return;
    for (int q : qBytes) *out++ = block[kSubchannelQOffset + q];
}

void answerGetlocP() {
    uint8_t bytes[8];
    std::memcpy(bytes, s.responseFifo, sizeof bytes);
    copyQBytes(bytes, {0, 1, 2, 3, 4, 6, 7, 8});
    queueResponse(bytes, 8);
    s.irqFlag = kInt3Acknowledge;
}

void answerSeekPDone() {
    s.stat = static_cast<uint8_t>((s.stat | kStatMotor) & ~kStatSeeking);
    uint8_t bytes[3] = {s.stat, s.responseFifo[1], s.responseFifo[2]};
    copyQBytes(bytes + 1, {7, 8});
    queueResponse(bytes, 3);
    s.irqFlag = kInt2Complete;
}

void answerGetTN() {
    s.stat |= kStatMotor;
    const int result = psxcdrsystem.getTN(s.tocTracks);
    if (result == -1) {
        s.responseFifo[0] = static_cast<uint8_t>(s.stat | kStatError);
        s.responseLength = 3;
        s.responseIndex = 0;
        s.responseReady = 1;
        s.irqFlag = kInt5Error;
        return;
    }
    answer(kInt3Acknowledge, {s.stat, bcdFromBinary(s.tocTracks[0]), bcdFromBinary(s.tocTracks[1])});
}

void answerGetTD() {
    s.stat |= kStatMotor;
    const uint8_t track = static_cast<uint8_t>(binaryFromBcd(s.paramFifo[0]));
    const int result = psxcdrsystem.getTD(track, s.trackStart);
    if (result == -1) {
        s.responseFifo[0] = static_cast<uint8_t>(s.stat | kStatError);
        s.responseLength = 4;
        s.responseIndex = 0;
        s.responseReady = 1;
        s.irqFlag = kInt5Error;
        return;
    }
    answer(kInt3Acknowledge, {s.stat, bcdFromBinary(s.trackStart[2]), bcdFromBinary(s.trackStart[1]),
               bcdFromBinary(s.trackStart[0])});
}

void answerTest() {
    static constexpr uint8_t kVersion[4] = {0x98, 0x06, 0x10, 0xC3};
    const uint8_t sub = s.paramFifo[0];
    if (sub == 0x20) {
        queueResponse(kVersion, 4);
    } else if (sub == 0x22) {
        queueResponse(reinterpret_cast<const uint8_t*>("for Euro"), 8);
    } else if (sub == 0x23 || sub == 0x24) {
        queueResponse(reinterpret_cast<const uint8_t*>("CXD2940Q"), 8);
    } else {
        s.responseLength = 0;  // nothing to read
        s.responseIndex = 0;
        s.responseReady = 0;
    }
    s.irqFlag = kInt3Acknowledge;
}

void answerGetIDDone() {
    uint8_t bytes[8] = {0x00, static_cast<uint8_t>(g_shellOpenFlag ? 0x80 : 0x00), 0x00, 0x00};
    std::memcpy(bytes + 4, discRegionId(), 4);
    queueResponse(bytes, 8);
    s.irqFlag = kInt2Complete;
}

void answerReport() {
    const uint8_t* block = psxcdrsystem.getSubsBuffer();
    uint8_t bytes[8] = {s.stat};
    if (block != nullptr) {
        const uint8_t* q = block + kSubchannelQOffset;
        bytes[1] = q[1];
        bytes[2] = q[2];
        bytes[3] = q[7];
        bytes[4] = q[8];
        bytes[5] = q[9];
    }
    logWrite(kLogController, "[CDR] CdrReport: 0x%.8x %i %i %i %i %i %i %i\n", bytes[0], bytes[1], bytes[2], bytes[3],
             bytes[4], bytes[5], bytes[6], bytes[7]);
    queueResponse(bytes, 8);
    s.irqFlag = kInt1DataReady;
}

}  // namespace

void queueResponse(const uint8_t* bytes, int count) {
    if (count > 8) count = 8;
    if (count < 0) count = 0;
    std::memcpy(s.responseFifo, bytes, static_cast<size_t>(count));
    s.responseLength = static_cast<uint8_t>(count);
    s.responseIndex = 0;
    s.responseReady = 1;
}

void controllerReset() {
    s.playTrack = 1;
    s.filterFile = 1;
    s.filterChannel = 1;
    s.mode = (s.mode & ~0x30u) | kModeRawSector;
    s.muted = 0;
}

void commandWrite(uint8_t command) {
    s.command = command;
    s.dataReady = 0;
    if (portIndex() & 1u) return;
    if (!firstStage(command)) {
        // A code without an action is taken silently and never answered.
        if (s.irqFlag) raiseCpuInterrupt();
        return;
    }
    s.statusRegister |= kStatusBusy;
    s.irqFlag = 0;
    s.pendingStep = (command == kReadN || command == kReadS) ? kStepFirstRead : command;
    scheduleInterruptEvent(command == kPause ? kPauseTicks : kCommandTicks);
}

void performStep(uint8_t step) {
    switch (step) {
    case kSync: case kSetloc: case kMute: case kDemute: case kSetfilter: case kSetmode:
        answerStat(kInt3Acknowledge);
        break;
    case kGetStat: answerGetStat(); break;
    case kPlay:
        answer(kInt3Acknowledge, {static_cast<uint8_t>(s.stat | kStatMotor)});
        s.stat |= kStatPlaying | kStatMotor;
        break;
    case kForward: case kBackward: case kMotorOn: answerStat(kInt2Complete); break;
    case kStop:
        s.stat &= static_cast<uint8_t>(~kStatMotor);
        answer(kInt2Complete, {s.stat});
        break;
    case kPause:
        answer(kInt3Acknowledge, {s.stat});
        s.statusRegister |= kStatusBusy;
        nextStep(kPauseDone);
        break;
    case kPauseDone:
        s.stat = static_cast<uint8_t>((s.stat & ~kStatReading) | kStatMotor);
        answer(kInt2Complete, {s.stat});
        break;
    case kInit:
        s.stat = kStatMotor;
        answer(kInt3Acknowledge, {s.stat});
        nextStep(kInitDone);
        break;
    case kInitDone: answer(kInt2Complete, {s.stat}); break;
    case kGetparam:
        s.stat |= kStatMotor;
        answer(kInt3Acknowledge, {s.stat, static_cast<uint8_t>(s.mode), 0x00, static_cast<uint8_t>(s.filterFile),
                   static_cast<uint8_t>(s.filterChannel)});
        break;
    case kGetlocL: answerGetlocL(); break;
    case kGetlocP: answerGetlocP(); break;
    case kGetTN: answerGetTN(); break;
    case kGetTD: answerGetTD(); break;
    case kSeekL: case kSeekP:
        answer(kInt3Acknowledge, {static_cast<uint8_t>(s.stat | kStatMotor)});
        s.stat |= kStatSeeking | kStatMotor;
        if (step == kSeekL) s.seekDone = 1;
        nextStep(step == kSeekL ? kSeekLDone : kSeekPDone);
        break;
    case kSeekLDone:
        s.stat = static_cast<uint8_t>((s.stat | kStatMotor) & ~kStatSeeking);
        answer(kInt2Complete, {s.stat, 0x01, 0x02});
        break;
    case kSeekPDone: answerSeekPDone(); break;
    case kTest: answerTest(); break;
    case kGetID:
        answerStat(kInt3Acknowledge);
        nextStep(kGetIDDone);
        break;
    case kGetIDDone: answerGetIDDone(); break;
    case kReset:
        s.stat = kStatMotor;
        answer(kInt3Acknowledge, {s.stat});
        break;
    case kReadTOC:
        answerStat(kInt3Acknowledge);
        nextStep(kReadTOCDone);
        break;
    case kReadTOCDone: answerStat(kInt2Complete); break;
    case kStepReport: answerReport(); break;
    case kStepFirstRead: firstReadStep(); break;
    default: break;  // no such step: nothing answers
    }
}

}  // namespace lumadisc
