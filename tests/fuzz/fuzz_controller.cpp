// Drives the emulated controller through a minimal in-process host: random port reads and writes,
// commands, acknowledgements, event firings, DMA starts with random control words, addresses and
// block controls, and save states corrupted before they are loaded again. The RAM behind
// cpuReadDataAddr is exactly 2 MB of heap, so a write past it is caught. Every input starts from the
// state right after Open. `--write-seeds DIR` writes a small corpus and exits.
#include "controller/controller_state.h"
#include "controller/save_state.h"
#include "lumadisc/host_api.h"
#include "tests/fuzz/fuzz_support.h"
#include "tools/fixtures/cue_image.h"
#include "tools/fixtures/ini_file.h"

namespace {

using namespace lumadisc;

constexpr uint32_t kRamSize = 2u * 1024u * 1024u;
constexpr int kMaxFiringsPerInput = 256;

struct FakeEvent { CdrEvent_t function = nullptr; bool scheduled = false; uint64_t due = 0; };

struct FakeHost {
    void* api[LUMADISC_HOST_API_SLOTS] = {};
    CdrPortWrite_t write = nullptr;
    CdrPortRead_t read = nullptr;
    CdrDmaHandler_t dma = nullptr;
    uint32_t dmaRegisters[2] = {};
    uint8_t* ram = nullptr;
    std::vector<FakeEvent> events;  // handle h is events[h - 1]
    uint64_t now = 0;
    uint32_t keys = 0;  // bit 0 cover open, bit 1 cover close
    uint64_t irqs = 0;
};
FakeHost g_fake;

template <class F>
void* fn(F function) {
    return reinterpret_cast<void*>(function);
}
void waitSet(uint32_t ticks, uint32_t handle) {
    if (handle == 0 || handle > g_fake.events.size()) return;
    g_fake.events[handle - 1].scheduled = ticks != LUMADISC_TICKS_CANCEL;
    g_fake.events[handle - 1].due = g_fake.now + ticks;
}
uint32_t waitGet(uint32_t handle) {
    if (handle == 0 || handle > g_fake.events.size() || !g_fake.events[handle - 1].scheduled) return LUMADISC_TICKS_CANCEL;
    return static_cast<uint32_t>(g_fake.events[handle - 1].due - g_fake.now);
}

long findFunction(HostSymbol* symbol) {
    static const std::pair<const char*, void*> kFunctions[] = {
        {"cpuHookPortByte", fn<HostHookPortByte_t>([](CdrPortWrite_t write, CdrPortRead_t read, uint32_t) {
             g_fake.write = write;
             g_fake.read = read;
         })},
        {"cpuHookDMAFunc", fn<HostHookDma_t>([](CdrDmaHandler_t handler, uint32_t, uint32_t) {
             g_fake.dma = handler;
             return g_fake.dmaRegisters;
         })},
        {"cpuReadDataAddr",
         fn<HostReadDataAddr_t>([](uint32_t address) -> void* { return g_fake.ram + (address & (kRamSize - 1)); })},
        {"cpuIrqRequest", fn<HostIrqRequest_t>([](uint32_t) { ++g_fake.irqs; })},
        {"cpuIrqWaitFuncRegister", fn<HostIrqWaitFuncRegister_t>([](CdrEvent_t event) {
             g_fake.events.push_back({event, false, 0});
             return static_cast<uint32_t>(g_fake.events.size());
         })},
        {"cpuIrqWaitFuncSet", fn<HostIrqWaitFuncSet_t>(&waitSet)},
        {"cpuIrqWaitFuncGet", fn<HostIrqWaitFuncGet_t>(&waitGet)},
        {"spuPlayCDXA", fn<HostPlayCdxa_t>([](XaAudio*) {})},
        {"spuPlayCDDA", fn<HostPlayCdda_t>([](unsigned char*) {})},
        {"padGetKKey", fn<HostGetKey_t>([](uint32_t key, uint32_t) -> long {
             return (key == 0x4B && (g_fake.keys & 1)) || (key == 0x4C && (g_fake.keys & 2));
         })}};
    for (const auto& [name, function] : kFunctions) {
        if (std::strcmp(symbol->name, name) == 0) {
            symbol->function = function;
            return 0;
        }
    }
    return -1;
}
long registerService(HostSymbol*) { return 0; }

// Fires the earliest scheduled event; false when none is scheduled.
bool fireNext() {
    FakeEvent* next = nullptr;
    for (FakeEvent& event : g_fake.events) {
        if (event.scheduled && (next == nullptr || event.due < next->due)) next = &event;
    }
    if (next == nullptr) return false;
    next->scheduled = false;
    g_fake.now = next->due;
    next->function();
    return true;
}

// Data sectors with XA audio and end-of-file sectors among them.
void writeDisc(const std::string& directory) {
    fixtures::CueImageBuilder builder;
    builder.addDataTrack(40, [](Lba lba, int32_t, fixtures::Sector& sector) {
        std::vector<uint8_t> data(2324);
        for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(lba * 7 + i);
        if (lba % 7 == 3) {
            sector = fixtures::form2Sector(lba, data, {1, 1, fixtures::submode::kAudio | fixtures::submode::kForm2, 1});
        } else {
            const uint8_t mode = lba % 5 == 4 ? fixtures::submode::kData | fixtures::submode::kEndOfFile
                                              : fixtures::submode::kData;
            sector = fixtures::form1Sector(lba, std::span(data).first(2048), {0, 0, mode, 0});
        }
    });
    builder.addAudioTrack(20);
    std::string error;
    fixtures::CueImage image;
    if (!builder.write(directory, "disc", &image, &error)) std::abort();
    fixtures::PluginIni settings;
    settings.current = directory + "/disc.cue";
    settings.playCdda = false;  // no audio thread in the fuzzer
    if (!fixtures::writePluginIni(directory, settings, &error)) std::abort();
}

std::vector<uint8_t> g_baseline;  // the state record right after Open
CdrEntryTable* g_entries = nullptr;

void setUpOnce() {
    static const bool ready = [] {
        writeDisc(lumadisc::fuzz::scratchDirectory("lumadisc-fuzz-ctl", true));
        g_fake.ram = static_cast<uint8_t*>(std::malloc(kRamSize));
        g_fake.api[LUMADISC_HOST_API_FIND_FUNCTION] = reinterpret_cast<void*>(&findFunction);
        g_fake.api[LUMADISC_HOST_API_REGISTER_SERVICE] = reinterpret_cast<void*>(&registerService);
        g_entries = PluginLoad(g_fake.api);
        if (g_entries->Init() != 0 || g_entries->Open() != 0) return false;
        void* record = nullptr;
        g_entries->SaveState(&record);
        g_baseline.assign(static_cast<uint8_t*>(record), static_cast<uint8_t*>(record) + sizeof(StateRecord));
        std::free(record);
        return true;
    }();
    if (!ready) std::abort();
}

// The fuzzer's bytes, read front to back; zeros once they run out.
struct Input {
    const uint8_t* data;
    size_t size, at = 0;
    bool empty() const { return at >= size; }
    uint8_t u8() { return at < size ? data[at++] : 0; }
    uint32_t u32() {
        uint32_t value = 0;
        for (int i = 0; i < 4; ++i) value |= static_cast<uint32_t>(u8()) << (8 * i);
        return value;
    }
};

// Offsets in a record worth corrupting: the positions, the queues' counters, the step, the ticks.
constexpr size_t kImage = offsetof(StateRecord, controller);
constexpr size_t kHotOffsets[] = {
    0, 4, kImage + 8, kImage + 12, kImage + 16, kImage + 17, kImage + 20, kImage + 4749, kImage + 4750,
    kImage + 4751, kImage + 4752, kImage + 4754, kImage + 4756, kImage + 4770, kImage + 4772,
    kImage + 37624, kImage + 37628, offsetof(StateRecord, interruptTicks), offsetof(StateRecord, readTicks)};

void saveCorruptLoad(Input& in) {
    void* raw = nullptr;
    g_entries->SaveState(&raw);
    auto* record = static_cast<uint8_t*>(raw);
    if (!stateRecordAcceptable(record)) std::abort();  // what is saved must load again
    for (int n = in.u8() % 4; n > 0; --n) {
        const uint8_t where = in.u8();
        const size_t offset = (where & 0x80) ? kHotOffsets[where % std::size(kHotOffsets)]
                                             : (in.u32() % sizeof(StateRecord));
        record[offset] = in.u8();
    }
    g_entries->LoadState(record);
    std::free(record);
}

void startDma(Input& in) {
    const uint8_t kind = in.u8() % 3;
    const uint32_t control = kind == 0 ? 0x11000000u : kind == 1 ? 0x11400100u : in.u32();
    g_fake.dmaRegisters[0] = in.u32();
    g_fake.dmaRegisters[1] = in.u32();
    g_fake.dma(control);
}

void command(Input& in) {
    g_fake.write(0, 0x1800);
    for (int n = in.u8() % 5; n > 0; --n) g_fake.write(in.u8(), 0x1802);
    g_fake.write(in.u8() % 32, 0x1801);
}

void acknowledge() {
    g_fake.write(1, 0x1800);
    g_fake.write(7, 0x1803);
    g_fake.write(0, 0x1800);
}

std::vector<fuzz::Seed> seeds() {
    return {
        // Setloc 00:02:00, ReadN, fire, read the response, acknowledge, request data, DMA 585 words.
        {"seed0", {5, 3, 0x00, 0x02, 0x00, 0x02, 2, 6, 1, 6, 5, 0, 0x06, 3, 4, 1, 1, 1, 6, 3, 4, 6, 0, 0x80, 4, 0,
                   0x00, 0x00, 0x10, 0x80, 0x49, 0x02, 0x00, 0x00}},
        // GetID, acknowledge, second step; Setmode 0x05 and report ticks.
        {"seed1", {5, 0, 0x1A, 2, 6, 2, 1, 1, 5, 1, 0x05, 0x0E, 2, 6, 3, 7, 3, 7}},
        // Save, corrupt the sector start and the step, load; then ports.
        {"seed2", {7, 2, 0x84, 0x18, 0x8F, 0xFA, 1, 2, 1, 2, 1, 3, 4, 2, 1, 2, 3, 4, 0xFF, 0xFF, 0xFF, 0xFF, 0, 2, 0, 0}},
        // Play track 0x99, Pause, Init, auto-pause mode with a read.
        {"seed3", {5, 1, 0x02, 0x0E, 2, 6, 5, 1, 0x99, 0x03, 2, 6, 5, 0, 0x09, 3, 7, 6, 3, 7, 5, 0, 0x0A, 3, 9}},
    };
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::handleWriteSeeds(*argc, *argv, seeds);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    setUpOnce();
    for (FakeEvent& event : g_fake.events) event.scheduled = false;
    g_fake.keys = 0;
    g_entries->LoadState(g_baseline.data());

    Input in{data, size};
    int firings = 0;
    for (int ops = 0; !in.empty() && ops < 2048; ++ops) {
        switch (in.u8() % 9) {
        case 0: g_fake.write(in.u8(), 0x1800 + (in.u8() & 3u)); break;
        case 1: g_fake.read(0x1800 + (in.u8() & 3u)); break;
        case 2: if (firings < kMaxFiringsPerInput && fireNext()) ++firings; break;
        case 3:
            for (int n = in.u8() % 8 + 1; n > 0 && firings < kMaxFiringsPerInput && fireNext(); --n) ++firings;
            break;
        case 4: startDma(in); break;
        case 5: command(in); break;
        case 6: acknowledge(); break;
        case 7: saveCorruptLoad(in); break;
        case 8:
            g_fake.keys = in.u8() & 3u;
            g_entries->Poll();
            break;
        }
        // Whatever happened, sectorStart designates a half or nothing.
        if (g_controller.sectorStart != 0 && !sectorDelivered()) std::abort();
    }
    return 0;
}
