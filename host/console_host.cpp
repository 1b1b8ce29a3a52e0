#include "host/console_host.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <limits>
#include <thread>

namespace lumadisc::host {

namespace {

std::atomic<ConsoleHost*> g_current{nullptr};

// Bytes behind the RAM that the host owns, so that a transfer the plugin overruns at the very end of
// RAM lands in memory the host watches instead of the heap's.
constexpr size_t kGuardSize = 4096;
constexpr uint8_t kGuardByte = 0xA5;
// Bytes behind each DMA transfer that are checked for writes the plugin was not asked for.
constexpr size_t kOverrunWindow = 64;
constexpr uint8_t kSentinel[4] = {0xDE, 0xAD, 0xBE, 0xEF};
// Events fired at one tick in one call before the clock gives up on a plugin that keeps
// rescheduling with 0 ticks.
constexpr uint64_t kEventsPerTickLimit = 1000000;
constexpr size_t kXaCapacity = 1024;

template <class F>
void* functionAddress(F function) {
    return reinterpret_cast<void*>(function);
}

}  // namespace

ConsoleHost::ConsoleHost() : ram_(new uint8_t[kRamSize + kGuardSize]) {
    std::memset(ram_.get(), 0, kRamSize);
    std::memset(ram_.get() + kRamSize, kGuardByte, kGuardSize);
    api_[LUMADISC_HOST_API_REGISTER_SERVICE] = functionAddress(&ConsoleHost::hostRegisterService);
    api_[LUMADISC_HOST_API_FIND_FUNCTION] = functionAddress(&ConsoleHost::hostFindFunction);
    setConfigDirectory(".");
    makeCurrent();
}

ConsoleHost::~ConsoleHost() {
    makeCurrent();
    bringDown();
    unload();
    ConsoleHost* self = this;
    g_current.compare_exchange_strong(self, nullptr);
}

ConsoleHost* ConsoleHost::current() { return g_current.load(); }

void ConsoleHost::makeCurrent() { g_current.store(this); }

// ---- The plugin ----

bool ConsoleHost::load(const std::string& pluginPath) {
    unload();
    error_.clear();
    if (!loader_.load(pluginPath)) {
        error_ = loader_.error();
        return false;
    }
    auto pluginLoad = reinterpret_cast<CdrEntryTable* (*)(void**)>(loader_.symbol("PluginLoad"));
    if (!pluginLoad) {
        error_ = "missing export: PluginLoad";
        loader_.unload();
        return false;
    }
    makeCurrent();
    entries_ = pluginLoad(api_);
    if (!entries_) {
        error_ = "PluginLoad returned no entry table";
        loader_.unload();
        return false;
    }
    return true;
}

void ConsoleHost::unload() {
    entries_ = nullptr;
    initialised_ = opened_ = false;
    loader_.unload();
}

long ConsoleHost::init() {
    if (!entries_ || !entries_->Init) return -1;
    makeCurrent();
    initialised_ = true;
    return entries_->Init();
}

long ConsoleHost::open() {
    if (!entries_ || !entries_->Open) return -1;
    makeCurrent();
    // Close releases what a failed Open already took (the log, the input devices).
    opened_ = true;
    return entries_->Open();
}

long ConsoleHost::start() { return entries_ && entries_->Start ? entries_->Start() : -1; }

long ConsoleHost::stop() { return entries_ && entries_->Stop ? entries_->Stop() : -1; }

long ConsoleHost::close() {
    if (!entries_ || !entries_->Close) return -1;
    opened_ = false;
    return entries_->Close();
}

long ConsoleHost::shutdown() {
    if (!entries_ || !entries_->Shutdown) return -1;
    initialised_ = false;
    return entries_->Shutdown();
}

void ConsoleHost::poll() {
    if (entries_ && entries_->Poll) entries_->Poll();
}

long ConsoleHost::configure() { return entries_ && entries_->Configure ? entries_->Configure() : -1; }

StateRecord* ConsoleHost::saveState() {
    if (!entries_ || !entries_->SaveState) return nullptr;
    void* record = nullptr;
    entries_->SaveState(&record);
    return static_cast<StateRecord*>(record);
}

long ConsoleHost::loadState(const StateRecord& record) {
    return entries_ && entries_->LoadState ? entries_->LoadState(&record) : -1;
}

void ConsoleHost::bringDown() {
    if (opened_) close();
    if (initialised_) shutdown();
}

// ---- HostApi ----

void ConsoleHost::setConfigDirectory(const std::string& directory) {
    configDirectory_ = directory;
    api_[LUMADISC_HOST_API_CONFIG_DIRECTORY] = const_cast<char*>(configDirectory_.c_str());
}

void* ConsoleHost::service(const std::string& name) const {
    const auto found = services_.find(name);
    return found == services_.end() ? nullptr : found->second;
}

long ConsoleHost::hostRegisterService(HostSymbol* symbol) {
    ConsoleHost* self = current();
    if (!self || !symbol || !symbol->name) return -1;
    self->services_[symbol->name] = symbol->function;
    self->registrations_.emplace_back(symbol->name);
    return 0;
}

long ConsoleHost::hostFindFunction(HostSymbol* symbol) {
    ConsoleHost* self = current();
    if (!self || !symbol || !symbol->name) return -1;
    const std::string name = symbol->name;
    self->lookups_.push_back(name);
    static void* const kFunctions[10] = {
        functionAddress(&ConsoleHost::hostHookPortByte),  functionAddress(&ConsoleHost::hostHookDma),
        functionAddress(&ConsoleHost::hostReadDataAddr),  functionAddress(&ConsoleHost::hostIrqRequest),
        functionAddress(&ConsoleHost::hostIrqWaitFuncRegister),
        functionAddress(&ConsoleHost::hostIrqWaitFuncSet), functionAddress(&ConsoleHost::hostIrqWaitFuncGet),
        functionAddress(&ConsoleHost::hostPlayCdxa),       functionAddress(&ConsoleHost::hostPlayCdda),
        functionAddress(&ConsoleHost::hostGetKey)};
    if (!self->withheld_.count(name)) {
        for (size_t i = 0; i < std::size(kFunctionNames); ++i) {
            if (name == kFunctionNames[i]) {
                symbol->function = kFunctions[i];
                return 0;
            }
        }
    }
    symbol->function = nullptr;
    return -1;
}

// ---- Clock and events ----

ConsoleHost::Event* ConsoleHost::event(uint32_t handle) {
    return handle >= 1 && handle <= events_.size() ? &events_[handle - 1] : nullptr;
}

const ConsoleHost::Event* ConsoleHost::event(uint32_t handle) const {
    return handle >= 1 && handle <= events_.size() ? &events_[handle - 1] : nullptr;
}

ConsoleHost::Event* ConsoleHost::nextDue(uint64_t until) {
    Event* next = nullptr;
    for (Event& candidate : events_) {
        if (!candidate.scheduled || candidate.due > until) continue;
        if (!next || candidate.due < next->due || (candidate.due == next->due && candidate.order < next->order))
            next = &candidate;
    }
    return next;
}

void ConsoleHost::fire(Event& due) {
    // The event may register further events, which moves the vector: touch nothing after the call.
    due.scheduled = false;
    const CdrEvent_t function = due.function;
    ++fired_;
    if (function) function();
}

void ConsoleHost::advance(uint64_t ticks) {
    const uint64_t target = ticks > std::numeric_limits<uint64_t>::max() - now_
                                ? std::numeric_limits<uint64_t>::max()
                                : now_ + ticks;
    uint64_t sameTick = 0;
    while (Event* due = nextDue(target)) {
        sameTick = due->due == now_ ? sameTick + 1 : 0;
        if (sameTick > kEventsPerTickLimit) break;
        now_ = due->due;
        fire(*due);
    }
    now_ = target;
}

bool ConsoleHost::step(uint64_t limit) {
    const uint64_t target = limit > std::numeric_limits<uint64_t>::max() - now_
                                ? std::numeric_limits<uint64_t>::max()
                                : now_ + limit;
    Event* due = nextDue(target);
    if (!due) {
        now_ = target;
        return false;
    }
    now_ = due->due;
    fire(*due);
    return true;
}

bool ConsoleHost::runUntil(const std::function<bool()>& done, uint64_t limit) {
    const uint64_t deadline = limit > std::numeric_limits<uint64_t>::max() - now_
                                  ? std::numeric_limits<uint64_t>::max()
                                  : now_ + limit;
    uint64_t sameTick = 0;
    while (!done()) {
        Event* due = nextDue(deadline);
        if (!due) {
            now_ = deadline;
            return done();
        }
        sameTick = due->due == now_ ? sameTick + 1 : 0;
        if (sameTick > kEventsPerTickLimit) return false;
        now_ = due->due;
        fire(*due);
    }
    return true;
}

uint64_t ConsoleHost::ticksToNextEvent() const {
    uint64_t next = std::numeric_limits<uint64_t>::max();
    for (const Event& candidate : events_)
        if (candidate.scheduled && candidate.due - now_ < next) next = candidate.due - now_;
    return next;
}

uint32_t ConsoleHost::ticksLeft(uint32_t handle) const {
    const Event* found = event(handle);
    if (!found || !found->scheduled) return LUMADISC_TICKS_CANCEL;
    const uint64_t left = found->due - now_;
    return left >= LUMADISC_TICKS_CANCEL ? LUMADISC_TICKS_CANCEL - 1 : static_cast<uint32_t>(left);
}

uint32_t ConsoleHost::hostIrqWaitFuncRegister(CdrEvent_t function) {
    ConsoleHost* self = current();
    if (!self) return 0;
    self->events_.push_back(Event{function, false, 0, 0});
    return static_cast<uint32_t>(self->events_.size());
}

void ConsoleHost::hostIrqWaitFuncSet(uint32_t ticks, uint32_t handle) {
    ConsoleHost* self = current();
    Event* target = self ? self->event(handle) : nullptr;
    if (!target) return;
    if (ticks == LUMADISC_TICKS_CANCEL) {
        target->scheduled = false;
        return;
    }
    target->scheduled = true;
    target->due = self->now_ + ticks;
    target->order = ++self->order_;
}

uint32_t ConsoleHost::hostIrqWaitFuncGet(uint32_t handle) {
    ConsoleHost* self = current();
    return self ? self->ticksLeft(handle) : LUMADISC_TICKS_CANCEL;
}

// ---- Ports ----

void ConsoleHost::hostHookPortByte(CdrPortWrite_t write, CdrPortRead_t read, uint32_t port) {
    ConsoleHost* self = current();
    if (!self) return;
    self->ports_[port] = PortHook{write, read};
    ++self->portHooks_;
}

bool ConsoleHost::portHooked(uint32_t port) const { return ports_.count(port) != 0; }

uint8_t ConsoleHost::readPort(uint32_t port) {
    const auto found = ports_.find(port);
    if (found == ports_.end() || !found->second.read) return 0xFF;
    return static_cast<uint8_t>(found->second.read(port));
}

void ConsoleHost::writePort(uint32_t port, uint8_t value) {
    const auto found = ports_.find(port);
    if (found != ports_.end() && found->second.write) found->second.write(value, port);
}

// ---- DMA and RAM ----

uint32_t* ConsoleHost::hostHookDma(CdrDmaHandler_t handler, uint32_t, uint32_t channel) {
    ConsoleHost* self = current();
    if (!self || channel >= kDmaChannels) return nullptr;
    self->dmaHandlers_[channel] = handler;
    return self->dma_[channel];
}

void* ConsoleHost::map(uint32_t address) {
    const uint32_t segment = address & 0xE0000000u;
    if (segment != 0 && segment != 0x80000000u && segment != 0xA0000000u) return nullptr;
    const uint32_t physical = address & 0x1FFFFFFFu;
    return physical < kRamSize ? ram_.get() + physical : nullptr;
}

void* ConsoleHost::hostReadDataAddr(uint32_t address) {
    ConsoleHost* self = current();
    return self ? self->map(address) : nullptr;
}

DmaRecord ConsoleHost::startDma(uint32_t address, uint32_t blockControl, uint32_t control, uint32_t channel) {
    DmaRecord record;
    record.control = control;
    record.address = address;
    record.blockControl = blockControl;
    if (channel >= kDmaChannels || !dmaHandlers_[channel]) {
        dmaLog_.push_back(record);
        return record;
    }
    uint64_t words = uint64_t{blockControl >> 16} * (blockControl & 0xFFFFu);
    if (words == 0) words = blockControl & 0xFFFFu;
    const uint64_t bytes = words * 4;
    uint8_t* target = static_cast<uint8_t*>(map(address));
    if (target && (target - ram_.get()) + bytes > kRamSize) {
        dmaLog_.push_back(record);  // would run off the end of RAM: refused
        return record;
    }
    // A sentinel behind the transfer shows whether the plugin wrote more than it was asked for.
    uint8_t* behind = target ? target + bytes : nullptr;
    uint8_t saved[kOverrunWindow];
    if (behind) {
        std::memcpy(saved, behind, kOverrunWindow);
        for (size_t i = 0; i < kOverrunWindow; ++i) behind[i] = kSentinel[i % 4];
    }
    dma_[channel][0] = address;
    dma_[channel][1] = blockControl;
    record.started = true;
    record.result = dmaHandlers_[channel](control);
    if (behind) {
        for (size_t i = 0; i < kOverrunWindow && !record.overrun; ++i)
            record.overrun = behind[i] != kSentinel[i % 4];
        if (!record.overrun) std::memcpy(behind, saved, kOverrunWindow);
    }
    dmaLog_.push_back(record);
    return record;
}

bool ConsoleHost::readRam(uint32_t address, void* out, size_t length) const {
    const uint32_t physical = address & 0x1FFFFFFFu;
    const uint32_t segment = address & 0xE0000000u;
    if (segment != 0 && segment != 0x80000000u && segment != 0xA0000000u) return false;
    if (physical > kRamSize || length > kRamSize - physical) return false;
    std::memcpy(out, ram_.get() + physical, length);
    return true;
}

bool ConsoleHost::writeRam(uint32_t address, const void* data, size_t length) {
    const uint32_t physical = address & 0x1FFFFFFFu;
    const uint32_t segment = address & 0xE0000000u;
    if (segment != 0 && segment != 0x80000000u && segment != 0xA0000000u) return false;
    if (physical > kRamSize || length > kRamSize - physical) return false;
    std::memcpy(ram_.get() + physical, data, length);
    return true;
}

bool ConsoleHost::guardIntact() const {
    for (size_t i = 0; i < kGuardSize; ++i)
        if (ram_[kRamSize + i] != kGuardByte) return false;
    return true;
}

// ---- Interrupts, audio, keys ----

void ConsoleHost::hostIrqRequest(uint32_t line) {
    ConsoleHost* self = current();
    if (self) self->irqs_.push_back(IrqRecord{line, self->now_});
}

void ConsoleHost::hostPlayCdxa(XaAudio* audio) {
    ConsoleHost* self = current();
    if (!self || !audio) return;
    ++self->xaCount_;
    if (self->xa_.size() < kXaCapacity) self->xa_.push_back(*audio);
}

void ConsoleHost::setCddaRecorder(size_t capacity, unsigned paceMicroseconds) {
    std::lock_guard lock(cddaMutex_);
    cddaCapacity_ = capacity;
    cddaPace_ = paceMicroseconds;
    while (cdda_.size() > cddaCapacity_) cdda_.pop_front();
}

void ConsoleHost::hostPlayCdda(unsigned char* block) {
    ConsoleHost* self = current();
    if (!self || !block) return;
    unsigned pace = 0;
    {
        std::lock_guard lock(self->cddaMutex_);
        ++self->cddaCount_;
        bool silent = true;
        for (int i = 0; i < 2352 && silent; ++i) silent = block[i] == 0;
        if (silent) ++self->cddaSilent_;
        if (self->cddaCapacity_ > 0) {
            self->cdda_.emplace_back(block, block + 2352);
            while (self->cdda_.size() > self->cddaCapacity_) self->cdda_.pop_front();
        }
        pace = self->cddaPace_;
    }
    self->cddaArrived_.notify_all();
    if (pace) std::this_thread::sleep_for(std::chrono::microseconds(pace));
}

uint64_t ConsoleHost::cddaCount() const {
    std::lock_guard lock(cddaMutex_);
    return cddaCount_;
}

uint64_t ConsoleHost::cddaSilentCount() const {
    std::lock_guard lock(cddaMutex_);
    return cddaSilent_;
}

std::vector<std::vector<uint8_t>> ConsoleHost::cddaBlocks() const {
    std::lock_guard lock(cddaMutex_);
    return {cdda_.begin(), cdda_.end()};
}

void ConsoleHost::clearCdda() {
    std::lock_guard lock(cddaMutex_);
    cdda_.clear();
    cddaCount_ = cddaSilent_ = 0;
}

bool ConsoleHost::waitCdda(uint64_t count, unsigned timeoutMilliseconds) {
    std::unique_lock lock(cddaMutex_);
    return cddaArrived_.wait_for(lock, std::chrono::milliseconds(timeoutMilliseconds),
                                 [&] { return cddaCount_ >= count; });
}

void ConsoleHost::pressKey(uint32_t key) {
    std::lock_guard lock(keyMutex_);
    keys_.insert(key);
}

void ConsoleHost::releaseKey(uint32_t key) {
    std::lock_guard lock(keyMutex_);
    keys_.erase(key);
}

bool ConsoleHost::keyPressed(uint32_t key) const {
    std::lock_guard lock(keyMutex_);
    return keys_.count(key) != 0;
}

uint64_t ConsoleHost::keyQueries() const {
    std::lock_guard lock(keyMutex_);
    return keyQueries_;
}

long ConsoleHost::hostGetKey(uint32_t key, uint32_t) {
    ConsoleHost* self = current();
    if (!self) return 0;
    std::lock_guard lock(self->keyMutex_);
    ++self->keyQueries_;
    return self->keys_.count(key) ? 1 : 0;
}

}  // namespace lumadisc::host
