// The extended face: PluginLoad, the entry table, the host functions bound by name in Open, the
// cover state and the reader instance the controller works on.
#pragma once

#include <cstdint>

#include "facade/cdrom_control.h"
#include "lumadisc/host_api.h"

namespace lumadisc {

enum EventSlot : int { kEventInterrupt, kEventRead, kEventCoverClosed, kEventReport, kEventCount };

// The host functions as last bound. Every slot always holds a callable function: a name the host
// does not offer is served by a built-in one that does nothing (no mapping, no ticks left), so a
// handler running after a failed or missing Open never follows a null pointer.
struct HostLink {
    HostHookPortByte_t hookPortByte;
    HostHookDma_t hookDma;
    HostReadDataAddr_t readDataAddr;
    HostIrqRequest_t irqRequest;
    HostIrqWaitFuncRegister_t waitRegister;
    HostIrqWaitFuncSet_t waitSet;
    HostIrqWaitFuncGet_t waitGet;
    HostPlayCdxa_t playCdxa;
    HostPlayCdda_t playCdda;
    HostGetKey_t getKey;
    uint32_t* dmaRegisters;            // channel 3: word 0 memory address, word 1 block control
    uint32_t handles[kEventCount];     // the events registered by the latest Open
};

extern HostLink g_host;
extern int32_t g_coverOpen;       // 1 while the cover is open
extern int32_t g_shellOpenFlag;   // 16 while the cover is open (as of the last Poll), else 0
extern CCdromControl psxcdrsystem;

// Registers a function with the host under name (HostApi slot 26); nothing without a registry.
void hostRegisterService(const char* name, void* function);

// Entry points (slots of the entry table).
long entryInit();
long entryOpen();
long entryStart();
long entryStop();
long entryClose();
long entryShutdown();
void entryPoll();
long entryConfigure();

}  // namespace lumadisc
