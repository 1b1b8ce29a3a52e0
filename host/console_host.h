// An emulated console for the plugin's extended face: the HostApi table, the ten host functions the
// plugin looks up by name, a tick clock that fires the plugin's events, the controller's four byte
// ports, DMA channel 3 over 2 MB of emulated RAM, the CPU interrupt line and recorders for audio and
// keys. The plugin's callbacks are plain C functions without a context argument, so, as in an
// emulator, one instance at a time is the current one and receives them.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "host/plugin_loader.h"
#include "lumadisc/host_api.h"

namespace lumadisc::host {

// The controller's four byte ports as the plugin hooks them.
enum : uint32_t {
    kPortStatus = 0x1800,   // status / index
    kPortCommand = 0x1801,  // command (write), response (read)
    kPortParameter = 0x1802, // parameter (write), data (read)
    kPortInterrupt = 0x1803, // interrupt flag, acknowledgement, data request
};

// Key codes the plugin polls through padGetKKey.
enum : uint32_t { kKeyCoverOpen = 0x4B, kKeyCoverClose = 0x4C, kKeyDiscSwap = 0x5F };

// The usual control word of a CD-ROM DMA start (device to memory, sync mode 0, start).
constexpr uint32_t kDmaControlToRam = 0x11000000u;

struct IrqRecord {
    uint32_t line = 0;
    uint64_t tick = 0;
};

struct DmaRecord {
    uint32_t control = 0;
    uint32_t address = 0;
    uint32_t blockControl = 0;
    uint32_t result = 0;      // what the plugin's handler returned
    bool started = false;     // false: the host refused the transfer (it does not fit the RAM)
    bool overrun = false;     // the plugin wrote past the end of the requested transfer
};

class ConsoleHost {
public:
    static constexpr uint32_t kRamSize = 2u * 1024u * 1024u;
    static constexpr uint32_t kDmaChannels = 7;
    static constexpr const char* kFunctionNames[10] = {
        "cpuHookPortByte",  "cpuHookDMAFunc",    "cpuReadDataAddr",   "cpuIrqRequest",
        "cpuIrqWaitFuncRegister", "cpuIrqWaitFuncSet", "cpuIrqWaitFuncGet", "spuPlayCDXA",
        "spuPlayCDDA",      "padGetKKey"};

    // The new console becomes the current one.
    ConsoleHost();
    // Closes and shuts the plugin down when it is still up, then unloads it.
    ~ConsoleHost();
    ConsoleHost(const ConsoleHost&) = delete;
    ConsoleHost& operator=(const ConsoleHost&) = delete;

    static ConsoleHost* current();
    void makeCurrent();

    // ---- The plugin ----
    // dlopen + PluginLoad with this console's HostApi; false with error() set on failure.
    bool load(const std::string& pluginPath);
    void unload();
    bool loaded() const { return entries_ != nullptr; }
    const std::string& error() const { return error_; }
    PluginLoader& loader() { return loader_; }
    const ClassicExports& classic() const { return loader_.classic(); }
    CdrEntryTable* entries() const { return entries_; }
    // The entry points; each returns -1 when the plugin is not loaded or leaves the slot empty.
    long init();
    long open();
    long start();
    long stop();
    long close();
    long shutdown();
    void poll();
    long configure();
    // A malloc'd StateRecord (owned by the caller, release with free) or null.
    StateRecord* saveState();
    long loadState(const StateRecord& record);
    // Calls Close and Shutdown for whichever of Open and Init the plugin went through.
    void bringDown();

    // ---- HostApi ----
    void** hostApi() { return api_; }
    // Slot 6: the configuration program's working directory.
    void setConfigDirectory(const std::string& directory);
    // findFunction answers "not found" for a withheld name.
    void withhold(const std::string& name) { withheld_.insert(name); }
    void restoreAll() { withheld_.clear(); }
    // Every name the plugin asked for, in order.
    const std::vector<std::string>& lookups() const { return lookups_; }
    // Services the plugin registered, by name (the latest registration wins), or null.
    void* service(const std::string& name) const;
    template <class F>
    F serviceAs(const std::string& name) const {
        return reinterpret_cast<F>(service(name));
    }
    // Names in registration order (repeats included).
    const std::vector<std::string>& registrations() const { return registrations_; }

    // ---- Clock and events ----
    uint64_t now() const { return now_; }
    // Moves the clock on by ticks, firing every event that falls due on the way in tick order
    // (events due at the same tick in the order they were scheduled); events may schedule others.
    void advance(uint64_t ticks);
    // Fires the next due event if it falls within limit ticks from now (the clock moves to it);
    // false, with the clock moved on by limit, when none does.
    bool step(uint64_t limit);
    // Fires events one by one until done() holds (checked after each event) or limit ticks have
    // passed; true when done() held.
    bool runUntil(const std::function<bool()>& done, uint64_t limit);
    // Ticks until the next scheduled event, or UINT64_MAX.
    uint64_t ticksToNextEvent() const;
    size_t eventCount() const { return events_.size(); }
    // Ticks left of a handle (as cpuIrqWaitFuncGet answers: LUMADISC_TICKS_CANCEL when not scheduled).
    uint32_t ticksLeft(uint32_t handle) const;
    uint64_t eventsFired() const { return fired_; }

    // ---- Ports ----
    bool portHooked(uint32_t port) const;
    uint8_t readPort(uint32_t port);  // 0xFF when the port is not hooked
    void writePort(uint32_t port, uint8_t value);
    int portHookCount() const { return portHooks_; }

    // ---- DMA channel 3 and RAM ----
    uint32_t* dmaRegisters(uint32_t channel = 3) { return channel < kDmaChannels ? dma_[channel] : nullptr; }
    bool dmaHooked(uint32_t channel = 3) const { return channel < kDmaChannels && dmaHandlers_[channel]; }
    // Sets the channel's address and block control, then calls the plugin's handler with control.
    // A transfer that would run past the end of RAM is refused (the handler is not called).
    DmaRecord startDma(uint32_t address, uint32_t blockControl, uint32_t control = kDmaControlToRam,
                       uint32_t channel = 3);
    const std::vector<DmaRecord>& dmaLog() const { return dmaLog_; }
    uint8_t* ram() { return ram_.get(); }
    // Host pointer of an emulated address (RAM and its KSEG0/KSEG1 mirrors), or null.
    void* map(uint32_t address);
    // Bounds-checked copies out of and into RAM; false when the range is not all RAM.
    bool readRam(uint32_t address, void* out, size_t length) const;
    bool writeRam(uint32_t address, const void* data, size_t length);
    // Whether every byte behind the RAM is still as the host left it.
    bool guardIntact() const;

    // ---- Interrupt line ----
    const std::vector<IrqRecord>& irqs() const { return irqs_; }
    size_t irqCount() const { return irqs_.size(); }
    void clearIrqs() { irqs_.clear(); }

    // ---- Audio recorders ----
    // XA blocks handed over by spuPlayCDXA: copies of the first 1024 since the last clear, and the
    // number of all of them.
    const std::vector<XaAudio>& xaBlocks() const { return xa_; }
    uint64_t xaCount() const { return xaCount_; }
    void clearXa() {
        xa_.clear();
        xaCount_ = 0;
    }
    // CD audio blocks from spuPlayCDDA (called from the plugin's streaming thread). The recorder keeps
    // the latest `capacity` blocks and sleeps `paceMicroseconds` per block, as a sound processor with a
    // small buffer makes its producer wait.
    void setCddaRecorder(size_t capacity, unsigned paceMicroseconds);
    uint64_t cddaCount() const;          // blocks received since the last clear
    uint64_t cddaSilentCount() const;    // of which all zero
    std::vector<std::vector<uint8_t>> cddaBlocks() const;
    void clearCdda();
    // Waits until at least count blocks have been received; false on time-out.
    bool waitCdda(uint64_t count, unsigned timeoutMilliseconds);

    // ---- Keys ----
    void pressKey(uint32_t key);
    void releaseKey(uint32_t key);
    bool keyPressed(uint32_t key) const;
    uint64_t keyQueries() const;  // padGetKKey calls so far

private:
    struct Event {
        CdrEvent_t function = nullptr;
        bool scheduled = false;
        uint64_t due = 0;
        uint64_t order = 0;
    };
    struct PortHook {
        CdrPortWrite_t write = nullptr;
        CdrPortRead_t read = nullptr;
    };

    // The host functions handed to the plugin.
    static long hostRegisterService(HostSymbol* symbol);
    static long hostFindFunction(HostSymbol* symbol);
    static void hostHookPortByte(CdrPortWrite_t write, CdrPortRead_t read, uint32_t port);
    static uint32_t* hostHookDma(CdrDmaHandler_t handler, uint32_t zero, uint32_t channel);
    static void* hostReadDataAddr(uint32_t address);
    static void hostIrqRequest(uint32_t line);
    static uint32_t hostIrqWaitFuncRegister(CdrEvent_t event);
    static void hostIrqWaitFuncSet(uint32_t ticks, uint32_t handle);
    static uint32_t hostIrqWaitFuncGet(uint32_t handle);
    static void hostPlayCdxa(XaAudio* audio);
    static void hostPlayCdda(unsigned char* block);
    static long hostGetKey(uint32_t key, uint32_t one);

    Event* event(uint32_t handle);
    const Event* event(uint32_t handle) const;
    Event* nextDue(uint64_t until);
    void fire(Event& event);

    PluginLoader loader_;
    CdrEntryTable* entries_ = nullptr;
    std::string error_;
    bool initialised_ = false;
    bool opened_ = false;

    void* api_[LUMADISC_HOST_API_SLOTS] = {};
    std::string configDirectory_;
    std::set<std::string> withheld_;
    std::vector<std::string> lookups_;
    std::map<std::string, void*> services_;
    std::vector<std::string> registrations_;

    uint64_t now_ = 0;
    uint64_t order_ = 0;
    uint64_t fired_ = 0;
    std::vector<Event> events_;  // handle h is events_[h - 1]

    std::map<uint32_t, PortHook> ports_;
    int portHooks_ = 0;

    uint32_t dma_[kDmaChannels][2] = {};
    CdrDmaHandler_t dmaHandlers_[kDmaChannels] = {};
    std::vector<DmaRecord> dmaLog_;
    std::unique_ptr<uint8_t[]> ram_;

    std::vector<IrqRecord> irqs_;
    std::vector<XaAudio> xa_;
    uint64_t xaCount_ = 0;

    mutable std::mutex cddaMutex_;
    std::condition_variable cddaArrived_;
    std::deque<std::vector<uint8_t>> cdda_;
    size_t cddaCapacity_ = 2048;
    unsigned cddaPace_ = 1000;
    uint64_t cddaCount_ = 0;
    uint64_t cddaSilent_ = 0;

    mutable std::mutex keyMutex_;
    std::set<uint32_t> keys_;
    uint64_t keyQueries_ = 0;
};

}  // namespace lumadisc::host
