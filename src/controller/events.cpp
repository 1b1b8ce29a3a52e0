#include "controller/events.h"

#include "config/log.h"
#include "controller/commands.h"
#include "controller/controller_state.h"
#include "controller/host_binding.h"
#include "controller/sector_delivery.h"

namespace lumadisc {

namespace {

ControllerState& s = g_controller;

constexpr uint32_t kCdromIrqLine = 4;
constexpr uint8_t kIrqEnableSilent = 0x18;  // steps answer without raising the CPU interrupt

void schedule(EventSlot slot, uint32_t ticks) { g_host.waitSet(ticks, g_host.handles[slot]); }

}  // namespace

uint32_t sectorTicks() {
    return (s.mode & kModeDoubleSpeed) ? kDoubleSpeedSectorTicks : kSingleSpeedSectorTicks;
}

void scheduleInterruptEvent(uint32_t ticks) {
    logWrite(kLogController, "[CDR] Set waitable interrupt after: %i ticks.\n", static_cast<int>(ticks));
    schedule(kEventInterrupt, ticks);
}

void scheduleReadEvent(uint32_t ticks) {
    logWrite(kLogController, "[CDR] Set waitable read interrupt after: %i ticks.\n", static_cast<int>(ticks));
    schedule(kEventRead, ticks);
}

void cancelReadEvent() { schedule(kEventRead, LUMADISC_TICKS_CANCEL); }
void scheduleCoverClosedEvent(uint32_t ticks) { schedule(kEventCoverClosed, ticks); }
void scheduleReportEvent(uint32_t ticks) { schedule(kEventReport, ticks); }

void raiseCpuInterrupt() { g_host.irqRequest(kCdromIrqLine); }

void acknowledgeInterrupt() {
    s.irqFlag = kIntNone;
    if (s.pendingStep == kStepNone) {
        s.pendingStep = 0;
        return;
    }
    if (s.pendingStep != 0) scheduleInterruptEvent(s.deferredDelay * 2u);
    if (s.readMode != 0 && s.responseReady == 0) scheduleReadEvent(sectorTicks());
}

long interruptEvent() {
    if (s.irqFlag) {
        scheduleInterruptEvent(kCommandTicks);  // the CPU has not acknowledged yet: try again
        return 0;
    }
    const uint8_t step = s.pendingStep;
    s.pendingStep = kStepNone;
    s.statusRegister &= static_cast<uint8_t>(~kStatusBusy);
    if (step == kStepNone) return 0;
    if (step == kStepFirstRead && s.readMode == 0) return 0;
    performStep(step);
    if (s.irqFlag) {
        if (s.irqEnable != kIrqEnableSilent) raiseCpuInterrupt();
        logWrite(kLogController, "[CDR] Interrupt\n");
    }
    return 0;
}

long readEvent() {
    if (s.readMode == 0) return 0;
    if (s.irqFlag) {
        scheduleReadEvent(kCommandTicks);
        return 0;
    }
    deliverSector();
    raiseCpuInterrupt();
    logWrite(kLogController, "[CDR] Read interrupt\n");
    return 0;
}

long coverClosedEvent() {
    logWrite(kLogController, "[CDR] Cover closed.\n");
    g_coverOpen = 0;
    return 0;
}

long reportEvent() {
    if ((s.mode & (kModeCdda | kModeReport)) == (kModeCdda | kModeReport)) {
        s.pendingStep = kStepReport;
        if (s.irqFlag == kIntNone) {
            scheduleInterruptEvent(kReportStepTicks);
        } else {
            s.deferredDelay = kReportDelay;
        }
    }
    scheduleReportEvent(kReportTicks);
    return 0;
}

}  // namespace lumadisc
