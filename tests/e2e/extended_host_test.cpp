// The emulated console that drives the plugin's extended face: its host functions as a plugin finds
// and calls them, its clock, RAM and DMA bounds, and, with the built plugin, the services and the
// `lumadisc boot` trace.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "host/console_host.h"
#include "host/scratch_dir.h"
#include "tests/e2e/tool_runner.h"

namespace lumadisc::e2e {
namespace {

using host::ConsoleHost;

// A plugin's view of the host: every function found through HostApi slot 27.
template <class F>
F find(ConsoleHost& console, const char* name) {
    auto findFunction = reinterpret_cast<HostFindFunction_t>(console.hostApi()[LUMADISC_HOST_API_FIND_FUNCTION]);
    HostSymbol symbol{name, nullptr};
    return findFunction(&symbol) == 0 ? reinterpret_cast<F>(symbol.function) : nullptr;
}

std::vector<std::pair<char, uint64_t>> g_fired;
ConsoleHost* g_console = nullptr;
uint32_t g_handleB = 0;
long eventA() { g_fired.emplace_back('A', g_console->now()); return 0; }
long eventB() { g_fired.emplace_back('B', g_console->now()); return 0; }
long eventC() { g_fired.emplace_back('C', g_console->now()); return 0; }
// Schedules B right away, from inside an event.
long eventChain() {
    g_fired.emplace_back('X', g_console->now());
    find<HostIrqWaitFuncSet_t>(*g_console, "cpuIrqWaitFuncSet")(0, g_handleB);
    return 0;
}
uint32_t g_selfHandle = 0;
HostIrqWaitFuncSet_t g_set = nullptr;
long eventForever() {
    g_set(0, g_selfHandle);
    return 0;
}

TEST(ConsoleHostTest, FindsItsFunctionsAndFiresEventsInTickOrder) {
    ConsoleHost console;
    for (const char* name : ConsoleHost::kFunctionNames) EXPECT_NE(find<void*>(console, name), nullptr) << name;
    EXPECT_EQ(find<void*>(console, "gpuDmaChain"), nullptr);
    console.withhold("spuPlayCDDA");
    EXPECT_EQ(find<void*>(console, "spuPlayCDDA"), nullptr);
    EXPECT_EQ(console.lookups().back(), "spuPlayCDDA");

    g_console = &console;
    g_fired.clear();
    auto registerEvent = find<HostIrqWaitFuncRegister_t>(console, "cpuIrqWaitFuncRegister");
    auto set = g_set = find<HostIrqWaitFuncSet_t>(console, "cpuIrqWaitFuncSet");
    auto get = find<HostIrqWaitFuncGet_t>(console, "cpuIrqWaitFuncGet");
    const uint32_t a = registerEvent(eventA), c = registerEvent(eventC), chain = registerEvent(eventChain);
    g_handleB = registerEvent(eventB);
    set(100, a);
    set(100, c);  // same tick as A, scheduled later: fires after A
    set(50, chain);
    set(70, g_handleB);  // replaced by the chain's schedule at tick 50
    console.advance(99);
    EXPECT_EQ(get(a), 1u);
    EXPECT_EQ(get(g_handleB), LUMADISC_TICKS_CANCEL);
    console.advance(1);
    set(LUMADISC_TICKS_CANCEL, a);  // already fired; cancelling is harmless
    const std::vector<std::pair<char, uint64_t>> expected = {{'X', 50}, {'B', 50}, {'A', 100}, {'C', 100}};
    EXPECT_EQ(g_fired, expected);

    set(10, c);
    set(LUMADISC_TICKS_CANCEL, c);
    console.advance(1000);
    EXPECT_EQ(g_fired.size(), expected.size());
    EXPECT_EQ(console.now(), 1100u);

    // A plugin that keeps rescheduling at 0 ticks does not hang the clock.
    g_selfHandle = registerEvent(eventForever);
    set(5, g_selfHandle);
    console.advance(10);
    EXPECT_EQ(console.now(), 1110u);
    g_console = nullptr;
}

uint32_t* g_registers = nullptr;
uint32_t g_extraBytes = 0;
uint32_t g_calls = 0;
// Fills the requested words with their index, plus g_extraBytes more bytes than asked for.
uint32_t fakeDma(uint32_t) {
    ++g_calls;
    auto readAddr = find<HostReadDataAddr_t>(*ConsoleHost::current(), "cpuReadDataAddr");
    auto* target = static_cast<uint8_t*>(readAddr(g_registers[0]));
    const uint32_t words = g_registers[1] & 0xFFFF;
    if (!target) return 0;
    for (uint32_t i = 0; i < words * 4 + g_extraBytes; ++i) target[i] = static_cast<uint8_t>(i);
    return words * 2;
}

TEST(ConsoleHostTest, MapsOnlyRamAndKeepsDmaInsideIt) {
    ConsoleHost console;
    auto readAddr = find<HostReadDataAddr_t>(console, "cpuReadDataAddr");
    const uint8_t* ram = console.ram();
    const struct { uint32_t address; long offset; } cases[] = {
        {0x00000000, 0},        {0x001FFFFF, 0x1FFFFF}, {0x80010000, 0x10000}, {0xA01FFFFC, 0x1FFFFC},
        {0x00200000, -1},       {0x801FFFFF + 1, -1},   {0x1F801800, -1},      {0xC0000000, -1},
        {0xFFFFFFFF, -1}};
    for (const auto& item : cases) {
        const auto* mapped = static_cast<const uint8_t*>(readAddr(item.address));
        if (item.offset < 0) EXPECT_EQ(mapped, nullptr) << std::hex << item.address;
        else EXPECT_EQ(mapped, ram + item.offset) << std::hex << item.address;
    }

    g_registers = find<HostHookDma_t>(console, "cpuHookDMAFunc")(fakeDma, 0, 3);
    ASSERT_EQ(g_registers, console.dmaRegisters());
    g_calls = 0;
    g_extraBytes = 0;
    host::DmaRecord record = console.startDma(0x80100000, 512);
    EXPECT_TRUE(record.started && !record.overrun);
    EXPECT_EQ(record.result, 1024u);
    EXPECT_EQ(ram[0x100000 + 2047], static_cast<uint8_t>(2047));
    EXPECT_EQ(ram[0x100000 + 2048], 0);

    record = console.startDma(0x801FFF00, 512);  // 2048 bytes from 256 before the end of RAM
    EXPECT_FALSE(record.started);
    EXPECT_EQ(g_calls, 1u);

    g_extraBytes = 4;
    record = console.startDma(0x1FFE00, 0x80);  // ends exactly at the end of RAM, then 4 more bytes
    EXPECT_TRUE(record.overrun);
    EXPECT_FALSE(console.guardIntact());
    std::vector<uint8_t> out(16);
    EXPECT_FALSE(console.readRam(0x801FFFF8, out.data(), out.size()));
    EXPECT_TRUE(console.readRam(0x801FFFF0, out.data(), out.size()));
}

TEST(ConsoleHostTest, RecordsAudioFromAnyThread) {
    ConsoleHost console;
    console.setCddaRecorder(8, 0);
    auto playCdda = find<HostPlayCdda_t>(console, "spuPlayCDDA");
    auto playCdxa = find<HostPlayCdxa_t>(console, "spuPlayCDXA");
    std::vector<std::thread> streams;
    for (int t = 0; t < 2; ++t) {
        streams.emplace_back([playCdda, t] {
            std::vector<unsigned char> block(2352, 0);
            for (int i = 0; i < 100; ++i) {
                block[0] = static_cast<unsigned char>(t == 0 ? 0 : i + 1);  // thread 0 plays silence
                playCdda(block.data());
            }
        });
    }
    EXPECT_TRUE(console.waitCdda(200, 10000));
    for (std::thread& stream : streams) stream.join();
    EXPECT_EQ(console.cddaCount(), 200u);
    EXPECT_EQ(console.cddaSilentCount(), 100u);
    EXPECT_EQ(console.cddaBlocks().size(), 8u);  // the latest eight

    auto xa = std::make_unique<XaAudio>();
    xa->rate = 37800;
    xa->samples[16383] = -5;
    playCdxa(xa.get());
    xa->rate = 0;  // the plugin reuses its block: the recorder must have copied it
    ASSERT_EQ(console.xaBlocks().size(), 1u);
    EXPECT_EQ(console.xaBlocks()[0].rate, 37800);
    EXPECT_EQ(console.xaBlocks()[0].samples[16383], -5);
}

TEST(ExtendedHostTest, ServicesAreFoundByNameAfterInit) {
    host::ScratchDir scratch("lumadisc-extended");
    ASSERT_TRUE(scratch.ok() && scratch.enter());
    ConsoleHost console;
    ASSERT_TRUE(console.load(LUMADISC_PLUGIN_PATH)) << console.error();
    EXPECT_EQ(console.service("cdrGetCDLabel"), nullptr);
    ASSERT_EQ(console.init(), 0);
    const std::vector<std::string> expected = {"cdrGetSystemType", "cdrLoadExecutable", "cdrGetCDExeMd5",
                                               "cdrGetCDLabel", "cdrGetCDExeName"};
    EXPECT_EQ(console.registrations(), expected);
    auto label = console.serviceAs<CdrGetText_t>("cdrGetCDLabel");
    auto md5 = console.serviceAs<CdrGetText_t>("cdrGetCDExeMd5");
    auto systemType = console.serviceAs<CdrGetSystemType_t>("cdrGetSystemType");
    ASSERT_TRUE(label && md5 && systemType);
    EXPECT_STREQ(label(), "NO_CD");
    EXPECT_EQ(std::string(md5()), std::string(32, '0'));
    EXPECT_EQ(systemType(), 0);
    EXPECT_EQ(console.service("cdrGetNothing"), nullptr);
    console.bringDown();
    scratch.leave();
}

TEST(BootCommandTest, BootsTheDemoDiscAndReadsSystemCnf) {
    host::ScratchDir scratch("lumadisc-boot");
    ASSERT_TRUE(scratch.ok());
    const ToolResult run = runLumadisc(scratch, {"boot"});
    ASSERT_EQ(run.exitCode, 0) << describeRun(run);
    EXPECT_NE(run.out.find("BOOT = cdrom:\\PSX.EXE;1"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("\"PS-X EXE\""), std::string::npos);
    EXPECT_NE(run.out.find("services:  cdrGetSystemType, cdrLoadExecutable"), std::string::npos);
    EXPECT_NE(run.out.find("< INT3  11 "), std::string::npos) << "GetStat with the cover open";
    EXPECT_NE(run.out.find("cover closed"), std::string::npos);

    // The trace lines carry their ticks in order.
    unsigned long long previous = 0, tick = 0;
    int traced = 0;
    std::istringstream lines(run.out);
    for (std::string line; std::getline(lines, line);) {
        char mark = 0;
        if (std::sscanf(line.c_str(), "%llu %c", &tick, &mark) == 2 && (mark == '>' || mark == '<')) {
            EXPECT_GE(tick, previous) << line;
            previous = tick;
            ++traced;
        }
    }
    EXPECT_GT(traced, 20);
}

TEST(BootCommandTest, ReportsHostFunctionsItWasNotGiven) {
    // The optional sound functions are replaced; without the others Open fails.
    const struct { const char* name; int exitCode; } cases[] = {{"spuPlayCDXA", 0}, {"spuPlayCDDA", 0}, {"cpuHookPortByte", 1}, {"cpuIrqWaitFuncGet", 1}};
    for (const auto& item : cases) {
        host::ScratchDir scratch("lumadisc-boot");
        ASSERT_TRUE(scratch.ok());
        const ToolResult run = runLumadisc(scratch, {"boot", "--withhold", item.name});
        EXPECT_EQ(run.exitCode, item.exitCode) << item.name << "\n" << describeRun(run);
        const std::string line = std::string("[GET] Error: Can't find \"") + item.name + "\" function\n";
        EXPECT_NE(run.out.find(line), std::string::npos) << describeRun(run);
    }
}

}  // namespace
}  // namespace lumadisc::e2e
