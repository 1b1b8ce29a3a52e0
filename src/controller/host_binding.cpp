// The extended face's binding to the host: PluginLoad hands out the entry table; Open finds the host
// functions by name, hooks the controller's ports and DMA channel 3, registers the four events and
// opens the disc.
#include "controller/host_binding.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "audio/cd_play.h"
#include "config/config_program.h"
#include "config/log.h"
#include "config/settings.h"
#include "controller/commands.h"
#include "controller/controller_state.h"
#include "controller/disc_services.h"
#include "controller/events.h"
#include "controller/registers.h"
#include "controller/save_state.h"
#include "controller/sector_delivery.h"
#include "facade/plugin_lifetime.h"

namespace lumadisc {

namespace {

constexpr uint32_t kDmaChannel = 3;
constexpr uint32_t kFirstPort = 0x1800;
constexpr uint32_t kPortCount = 4;
constexpr uint32_t kKeyCoverOpen = 0x4B;
constexpr uint32_t kKeyCoverClose = 0x4C;
constexpr uint32_t kKeyDiscSwap = 0x5F;
constexpr int32_t kShellOpen = 16;

// Built-in functions standing in for host functions that were not found.
void noHookPortByte(CdrPortWrite_t, CdrPortRead_t, uint32_t) {}
uint32_t* noHookDma(CdrDmaHandler_t, uint32_t, uint32_t) { return nullptr; }
void* noReadDataAddr(uint32_t) { return nullptr; }
void noIrqRequest(uint32_t) {}
uint32_t noWaitRegister(CdrEvent_t) { return 0; }
void noWaitSet(uint32_t, uint32_t) {}
uint32_t noWaitGet(uint32_t) { return LUMADISC_TICKS_CANCEL; }
void noPlayCdxa(XaAudio*) {}
void noPlayCdda(unsigned char*) {}
long noGetKey(uint32_t, uint32_t) { return 0; }

constexpr HostLink kUnbound = {noHookPortByte, noHookDma, noReadDataAddr, noIrqRequest, noWaitRegister,
                               noWaitSet,      noWaitGet, noPlayCdxa,     noPlayCdda,   noGetKey,
                               nullptr,        {0, 0, 0, 0}};

void** g_hostApi = nullptr;
HostSymbol g_symbol;  // the one record handed to slots 26 and 27
CdrEntryTable g_entries;

void* hostSlot(int slot) { return g_hostApi != nullptr ? g_hostApi[slot] : nullptr; }

void* findFunction(const char* name) {
    auto find = reinterpret_cast<HostFindFunction_t>(hostSlot(LUMADISC_HOST_API_FIND_FUNCTION));
    if (find == nullptr) return nullptr;
    g_symbol.name = name;
    g_symbol.function = nullptr;
    return find(&g_symbol) == 0 ? g_symbol.function : nullptr;
}

// Binds *slot to the host's function of that name, or to the built-in stand-in with the "[GET]" line.
template <class F>
bool bind(const char* name, F* slot, F standIn) {
    if (void* function = findFunction(name)) {
        *slot = reinterpret_cast<F>(function);
        return true;
    }
    *slot = standIn;
    std::printf("[GET] Error: Can't find \"%s\" function\n", name);
    std::fflush(stdout);
    return false;
}

}  // namespace

HostLink g_host = kUnbound;
int32_t g_coverOpen = 0;
int32_t g_shellOpenFlag = 0;
CCdromControl psxcdrsystem;

void hostRegisterService(const char* name, void* function) {
    auto registerService = reinterpret_cast<HostRegisterService_t>(hostSlot(LUMADISC_HOST_API_REGISTER_SERVICE));
    if (registerService == nullptr) return;
    g_symbol.name = name;
    g_symbol.function = function;
    registerService(&g_symbol);
}

long entryInit() {
    logWrite(kLogController, "[CDR] Init()\n");
    pluginStartUp(PluginFace::kExtended, psxcdrsystem);
    discServicesRegister();
    return 0;
}

long entryOpen() {
    pluginLoadSettingsAndLog(false, nullptr);
    logWrite(kLogController, "[CDR] Open()\n");

    HostLink& h = g_host;
    h = kUnbound;  // nothing of an earlier binding outlives this one
    if (!bind("cpuHookPortByte", &h.hookPortByte, kUnbound.hookPortByte) ||
        !bind("cpuHookDMAFunc", &h.hookDma, kUnbound.hookDma) ||
        !bind("cpuReadDataAddr", &h.readDataAddr, kUnbound.readDataAddr) ||
        !bind("cpuIrqRequest", &h.irqRequest, kUnbound.irqRequest) ||
        !bind("cpuIrqWaitFuncRegister", &h.waitRegister, kUnbound.waitRegister)) {
        return -1;
    }
    for (uint32_t port = kFirstPort; port < kFirstPort + kPortCount; ++port) {
        h.hookPortByte(WriteCdrByte, ReadCdrByte, port);
    }
    h.dmaRegisters = h.hookDma(psxDma3, 0, kDmaChannel);
    if (!bind("cpuIrqWaitFuncSet", &h.waitSet, kUnbound.waitSet) ||
        !bind("cpuIrqWaitFuncGet", &h.waitGet, kUnbound.waitGet)) {
        return -1;
    }
    h.handles[kEventInterrupt] = h.waitRegister(interruptEvent);
    h.handles[kEventRead] = h.waitRegister(readEvent);
    h.handles[kEventCoverClosed] = h.waitRegister(coverClosedEvent);
    h.handles[kEventReport] = h.waitRegister(reportEvent);
    bind("spuPlayCDXA", &h.playCdxa, kUnbound.playCdxa);
    // CD audio goes to the host; its stand-in returns at once, so the player then keeps time itself.
    const bool hostPlaysCdda = bind("spuPlayCDDA", &h.playCdda, kUnbound.playCdda);
    g_cdPlay.setHostOutput(h.playCdda, hostPlaysCdda);
    bind("padGetKKey", &h.getKey, kUnbound.getKey);

    std::memset(&g_controller, 0, sizeof g_controller);
    controllerReset();
    if (psxcdrsystem.open() < 0) {
        logWrite(kLogController, "[CDR] Error: psxcdrsystem.Open()\n");
        // Nothing of the failed open stays: the disc and the player are closed, CD audio goes back to
        // the sound device, and the controller is as before.
        psxcdrsystem.close();
        g_cdPlay.setHostOutput(nullptr, true);
        std::memset(&g_controller, 0, sizeof g_controller);
        return -1;
    }
    g_coverOpen = 1;
    g_shellOpenFlag = kShellOpen;
    cdrGetCDLabel();
    cdrGetCDExeMd5();
    cdrGetCDExeName();
    return 0;
}

long entryStart() {
    logWrite(kLogController, "[CDR] Start()\n");
    scheduleReportEvent(kReportTicks);
    return 0;
}

long entryStop() {
    logWrite(kLogController, "[CDR] Stop()\n");
    return 0;
}

long entryClose() {
    logWrite(kLogController, "[CDR] Close()\n");
    if (g_settings.savesettingsonexit) settingsSave(&g_settings);
    psxcdrsystem.close();
    g_cdPlay.setHostOutput(nullptr, true);  // the classic face plays through OpenAL again
    logClose();
    return 0;
}

long entryShutdown() {
    pluginShutDown(PluginFace::kExtended, psxcdrsystem);
    logWrite(kLogController, "[CDR] Shutdown()\n");
    return 0;
}

void entryPoll() {
    if (g_host.getKey(kKeyCoverOpen, 1)) g_coverOpen = 1;
    if (g_host.getKey(kKeyCoverClose, 1)) scheduleCoverClosedEvent(kCoverCloseTicks);
    if (g_host.getKey(kKeyDiscSwap, 1)) {
        entryConfigure();
        entryClose();
        entryOpen();
        g_coverOpen = 1;
        scheduleCoverClosedEvent(kCoverCloseTicks);
    }
    g_shellOpenFlag = g_coverOpen == 1 ? kShellOpen : 0;
}

long entryConfigure() {
    void* record = nullptr;
    stateSave(&record);
    entryStop();
    entryClose();
    // The host names the program's working directory; without one it is the current directory.
    const char* directory = static_cast<const char*>(hostSlot(LUMADISC_HOST_API_CONFIG_DIRECTORY));
    runConfigProgram(directory != nullptr ? directory : ".");
    entryOpen();
    entryStart();
    stateLoad(record);
    std::free(record);
    return 0;
}

}  // namespace lumadisc

using namespace lumadisc;

extern "C" CdrEntryTable* PluginLoad(void** hostApi) {
    g_hostApi = hostApi;
    g_entries = CdrEntryTable{entryInit,  entryOpen, entryStart,     entryStop,     entryClose,
                              entryShutdown, nullptr, entryPoll, entryConfigure, stateSave,
                              stateLoad};
    return &g_entries;
}
