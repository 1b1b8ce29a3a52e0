// lumadisc boot: starts the disc the way a console does, through the plugin's extended face, where the
// plugin itself is the CD-ROM controller. Prints every command, response and interrupt with its tick,
// then what the reads brought in: the volume, the root directory, SYSTEM.CNF and the executable header.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "host/console_driver.h"
#include "host/console_host.h"
#include "src/disc/cd_utility.h"
#include "tools/lumadisc/commands.h"
#include "tools/lumadisc/iso9660_walker.h"

namespace lumadisc::tool {

namespace {

using host::ConsoleDriver;
using host::ConsoleHost;

constexpr int32_t kVolumeDescriptorLba = 16;
constexpr uint32_t kSectorBytes = 2048;
constexpr int kMaxSectorsPerFile = 16;  // the boot only needs the start of each file

std::string upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

// The records of a directory read whole (records never cross a block).
std::vector<IsoEntry> parseDirectory(const std::vector<uint8_t>& data) {
    std::vector<IsoEntry> entries;
    std::string damage;
    for (size_t at = 0; at + kSectorBytes <= data.size(); at += kSectorBytes) {
        if (!parseDirectoryBlock(data.data() + at, &entries, &damage)) break;
    }
    return entries;
}

// The executable named by SYSTEM.CNF's BOOT line ("cdrom:\PSX.EXE;1" gives "PSX.EXE;1").
std::string bootFile(const std::string& systemCnf) {
    size_t at = 0;
    while (at < systemCnf.size()) {
        size_t end = systemCnf.find_first_of("\r\n", at);
        if (end == std::string::npos) end = systemCnf.size();
        const std::string line = systemCnf.substr(at, end - at);
        at = end + 1;
        if (upper(line).rfind("BOOT", 0) != 0) continue;
        const size_t equals = line.find('=');
        if (equals == std::string::npos) continue;
        std::string path = line.substr(equals + 1);
        const size_t colon = path.find(':');
        if (colon != std::string::npos) path = path.substr(colon + 1);
        path.erase(std::remove_if(path.begin(), path.end(), [](char c) { return c == ' ' || c == '\t'; }),
                   path.end());
        while (!path.empty() && (path.front() == '\\' || path.front() == '/')) path.erase(0, 1);
        return path;
    }
    return {};
}

// Reads `size` bytes of a file (at most kMaxSectorsPerFile sectors) through Setloc, ReadN and DMA.
std::vector<uint8_t> readFile(ConsoleDriver& driver, const char* what, int32_t lba, uint32_t size) {
    const int count = std::clamp<int>(static_cast<int>((size + kSectorBytes - 1) / kSectorBytes), 1,
                                      kMaxSectorsPerFile);
    driver.note(std::string(what) + ": LBA " + std::to_string(lba) + ", " + std::to_string(count) +
                (count == 1 ? " sector" : " sectors"));
    std::vector<uint8_t> data;
    for (const auto& sector : driver.readSectors(lba, count, kSectorBytes))
        data.insert(data.end(), sector.begin(), sector.end());
    return data;
}

void printTrace(const ConsoleDriver& driver, size_t from) {
    const auto& trace = driver.trace();
    for (size_t i = from; i < trace.size(); ++i) std::printf("%s\n", ConsoleDriver::format(trace[i]).c_str());
}

}  // namespace

int runBoot(const CommonOptions& options, const Arguments& arguments) {
    std::string disc;
    std::vector<std::string> withheld;
    bool handshakes = false;
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--withhold" && i + 1 < arguments.size()) {
            withheld.push_back(arguments[++i]);
        } else if (arguments[i] == "--handshakes") {
            handshakes = true;
        } else if (disc.empty() && arguments[i].rfind("--", 0) != 0) {
            disc = arguments[i];
        } else {
            std::fprintf(stderr, "lumadisc boot: unexpected argument '%s'\n", arguments[i].c_str());
            return kExitUsage;
        }
    }

    Session session(options);
    SessionSetup setup;
    setup.extended = true;
    setup.configureConsole = [&](ConsoleHost& console) {
        for (const std::string& name : withheld) console.withhold(name);
    };
    setup.afterInit = [&] {
        std::printf("plugin:    %s (PluginLoad)\n", session.plugin().c_str());
        std::printf("disc:      %s, %s\n", session.disc().c_str(), discKindName(session.disc()).c_str());
        std::string services;
        for (const std::string& name : session.console().registrations())
            services += (services.empty() ? "" : ", ") + name;
        std::printf("services:  %s\n", services.empty() ? "(none registered)" : services.c_str());
    };
    if (const int code = session.start(disc, setup); code != kExitOk) return code;
    ConsoleHost* console = &session.console();
    auto finish = [&](int code) { return session.finish(code); };
    std::printf("ports:     %s, DMA channel 3 %s, %zu events registered\n",
                console->portHooked(host::kPortStatus) && console->portHooked(host::kPortInterrupt) ? "hooked"
                                                                                                  : "NOT hooked",
                console->dmaHooked() ? "hooked" : "NOT hooked", console->eventCount());

    ConsoleDriver driver(*console);
    driver.setTraceHandshakes(handshakes);
    std::printf("\n       tick\n");
    driver.command(host::kCmdInit);
    driver.note("GetStat with the cover open");
    driver.command(host::kCmdGetStat);
    const bool coverClosed = driver.closeCover();
    if (!coverClosed) driver.note("the cover did not close");
    driver.command(host::kCmdGetID);
    const host::CommandResult tn = driver.command(host::kCmdGetTN);
    unsigned firstTrack = 1, lastTrack = 1;
    if (tn.complete && !tn.error() && tn.bytes().size() >= 3) {
        firstTrack = lumadisc::binaryFromBcd(tn.bytes()[1]);
        lastTrack = lumadisc::binaryFromBcd(tn.bytes()[2]);
    }
    for (unsigned track = firstTrack; track <= lastTrack && track <= 99; ++track)
        driver.command(host::kCmdGetTD, {lumadisc::bcdFromBinary(track)});
    driver.command(host::kCmdGetTD, {0x00});  // the lead-out
    driver.command(host::kCmdSetmode, {0x80});  // double speed, 2048-byte sectors

    // The volume descriptor, read as the firmware first does: Setloc 00:02:16, SeekL, ReadN.
    driver.note("volume descriptor: LBA " + std::to_string(kVolumeDescriptorLba));
    driver.command(host::kCmdSetloc, {0x00, 0x02, 0x16});
    driver.command(host::kCmdSeekL);
    std::vector<uint8_t> pvd;
    if (driver.command(host::kCmdReadN).complete) {
        if (auto sector = driver.nextSector(kSectorBytes)) pvd = sector->data;
    }
    driver.command(host::kCmdPause);

    IsoVolume volume;
    const bool ok = pvd.size() == kSectorBytes && parsePrimaryDescriptor(pvd.data(), &volume);
    std::vector<IsoEntry> root;
    std::string systemCnf, exeName;
    std::vector<uint8_t> exeHeader;
    const IsoEntry* exe = nullptr;
    if (ok) {
        const auto rootExtent = static_cast<int32_t>(volume.root.extent);
        root = parseDirectory(readFile(driver, "root directory", rootExtent, volume.root.size));
        if (const IsoEntry* cnf = findIsoEntry(root, "SYSTEM.CNF")) {
            const std::vector<uint8_t> data =
                readFile(driver, "SYSTEM.CNF", static_cast<int32_t>(cnf->extent), cnf->size);
            systemCnf.assign(data.begin(), data.begin() + std::min<size_t>(data.size(), cnf->size));
            exeName = bootFile(systemCnf);
        }
        if (exeName.empty()) exeName = "PSX.EXE";
        exe = findIsoEntry(root, exeName);
        if (exe) exeHeader = readFile(driver, "executable header", static_cast<int32_t>(exe->extent), kSectorBytes);
    }
    printTrace(driver, 0);

    size_t commands = 0, interrupts = 0, transfers = 0;
    for (const host::TraceEntry& entry : driver.trace()) {
        commands += entry.kind == host::TraceEntry::Kind::Command;
        interrupts += entry.kind == host::TraceEntry::Kind::Response;
        transfers += entry.kind == host::TraceEntry::Kind::Dma && entry.dma.started;
    }
    std::printf("\n%zu commands, %zu interrupts taken, %zu DMA transfers, %llu ticks, cover %s\n", commands,
                interrupts, transfers, static_cast<unsigned long long>(console->now()),
                coverClosed ? "closed" : "still open");

    if (!ok) {
        std::printf("\nno ISO 9660 volume descriptor at LBA %d\n", kVolumeDescriptorLba);
        return finish(kExitFailure);
    }
    std::printf("\nvolume:    system \"%s\", volume \"%s\", %u blocks\n", volume.system.c_str(),
                volume.volume.c_str(), volume.blocks);
    std::printf("root:      LBA %u, %u bytes\n", volume.root.extent, volume.root.size);
    for (const IsoEntry& entry : root)
        std::printf("  %-20s LBA %6u %10u bytes%s\n", entry.name.c_str(), entry.extent, entry.size,
                    entry.directory ? "  <dir>" : "");
    if (systemCnf.empty()) {
        std::printf("SYSTEM.CNF: none\n");
    } else {
        std::printf("SYSTEM.CNF:\n");
        size_t at = 0;
        while (at < systemCnf.size()) {
            size_t end = systemCnf.find('\n', at);
            if (end == std::string::npos) end = systemCnf.size();
            std::string line = systemCnf.substr(at, end - at);
            if (!line.empty() && line.back() == '\r') line.pop_back();
            if (!line.empty()) std::printf("  %s\n", line.c_str());
            at = end + 1;
        }
    }
    if (!exe || exeHeader.size() < kSectorBytes) {
        std::printf("executable: %s not found\n", exeName.c_str());
        return finish(kExitFailure);
    }
    const uint8_t* h = exeHeader.data();
    std::printf("executable: %s, LBA %u, %u bytes\n", exe->name.c_str(), exe->extent, exe->size);
    std::printf("  id        \"%s\"\n", isoText(h, 8).c_str());
    std::printf("  pc        0x%08X\n  gp        0x%08X\n", readLe32(h + 0x10), readLe32(h + 0x14));
    std::printf("  text      0x%08X, %u bytes\n", readLe32(h + 0x18), readLe32(h + 0x1C));
    std::printf("  stack     0x%08X\n", readLe32(h + 0x30));
    const uint8_t* markerEnd = static_cast<const uint8_t*>(std::memchr(h + 0x4C, 0, kSectorBytes - 0x4C));
    const size_t markerLength = markerEnd ? static_cast<size_t>(markerEnd - (h + 0x4C)) : kSectorBytes - 0x4C;
    std::printf("  marker    \"%s\"\n", isoText(h + 0x4C, std::min<size_t>(markerLength, 120)).c_str());
    const bool exeOk = std::memcmp(h, "PS-X EXE", 8) == 0;
    return finish(exeOk ? kExitOk : kExitFailure);
}

}  // namespace lumadisc::tool
