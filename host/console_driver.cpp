#include "host/console_driver.h"

#include <cinttypes>
#include <cstdio>

namespace lumadisc::host {

namespace {

// Commands whose first response is followed by a second one after the acknowledgement.
bool answersTwice(uint8_t code) {
    switch (code) {
    case kCmdPause: case kCmdInit: case kCmdSeekL: case kCmdSeekP: case kCmdGetID: case kCmdReadTOC:
        return true;
    default:
        return false;
    }
}

bool startsRead(uint8_t code) { return code == kCmdReadN || code == kCmdReadS; }

std::string hexList(const std::vector<uint8_t>& bytes) {
    std::string text;
    char item[4];
    for (uint8_t byte : bytes) {
        std::snprintf(item, sizeof item, "%02X", byte);
        if (!text.empty()) text += ' ';
        text += item;
    }
    return text;
}

// Interrupts taken while waiting for one command's answer that belong to something else (sectors of
// a read still running, position reports), before the driver gives up on the command.
constexpr int kForeignInterruptLimit = 16;
// Bytes read from the response port at most: the response queue holds 8, more is a faulty controller.
constexpr int kResponseLimit = 16;

}  // namespace


bool CommandResult::error() const {
    for (const Response& response : responses)
        if (response.interrupt == 5) return true;
    return false;
}

const std::vector<uint8_t>& CommandResult::bytes() const {
    static const std::vector<uint8_t> kNone;
    return responses.empty() ? kNone : responses.front().bytes;
}

void ConsoleDriver::record(TraceEntry entry) {
    if (tracing_) trace_.push_back(std::move(entry));
}

void ConsoleDriver::note(const std::string& text) {
    TraceEntry entry;
    entry.tick = console_.now();
    entry.text = text;
    record(std::move(entry));
}

void ConsoleDriver::send(uint8_t code, const std::vector<uint8_t>& parameters) {
    console_.writePort(kPortStatus, 0);  // index 0; clears the parameter queue
    for (uint8_t parameter : parameters) console_.writePort(kPortParameter, parameter);
    console_.writePort(kPortCommand, code);
    commandTick_ = console_.now();
    TraceEntry entry;
    entry.kind = TraceEntry::Kind::Command;
    entry.tick = commandTick_;
    entry.code = code;
    entry.bytes = parameters;
    record(std::move(entry));
}

uint8_t ConsoleDriver::interruptFlag() {
    console_.writePort(kPortStatus, 1);
    return console_.readPort(kPortInterrupt) & 0x07;
}

void ConsoleDriver::acknowledge() {
    console_.writePort(kPortStatus, 1);
    console_.writePort(kPortInterrupt, 0x07);
    if (traceHandshakes_) {
        TraceEntry entry;
        entry.kind = TraceEntry::Kind::Acknowledge;
        entry.tick = console_.now();
        record(std::move(entry));
    }
}

void ConsoleDriver::requestData() {
    console_.writePort(kPortStatus, 0);
    console_.writePort(kPortInterrupt, 0x80);
    if (traceHandshakes_) {
        TraceEntry entry;
        entry.kind = TraceEntry::Kind::DataRequest;
        entry.tick = console_.now();
        record(std::move(entry));
    }
}

DmaRecord ConsoleDriver::dma(uint32_t address, uint32_t words) {
    const DmaRecord result = console_.startDma(address, words & 0xFFFFu);
    TraceEntry entry;
    entry.kind = TraceEntry::Kind::Dma;
    entry.tick = console_.now();
    entry.dma = result;
    record(std::move(entry));
    return result;
}

Response ConsoleDriver::takeResponse() {
    Response response;
    response.tick = console_.now();
    response.interrupt = interruptFlag();
    for (int i = 0; i < kResponseLimit && (console_.readPort(kPortStatus) & 0x20); ++i)
        response.bytes.push_back(console_.readPort(kPortCommand));
    TraceEntry entry;
    entry.kind = TraceEntry::Kind::Response;
    entry.tick = response.tick;
    entry.code = response.interrupt;
    entry.bytes = response.bytes;
    entry.sinceCommand = response.tick - commandTick_;
    record(std::move(entry));
    acknowledge();
    return response;
}

std::optional<Response> ConsoleDriver::awaitInterrupt() {
    const size_t before = console_.irqCount();
    const bool raised = console_.runUntil([&] { return console_.irqCount() > before; }, timeout_);
    if (!raised && interruptFlag() == 0) {
        char text[96];
        std::snprintf(text, sizeof text, "no interrupt within %" PRIu64 " ticks", timeout_);
        note(text);
        return std::nullopt;
    }
    return takeResponse();
}

CommandResult ConsoleDriver::command(uint8_t code, const std::vector<uint8_t>& parameters) {
    CommandResult result;
    result.command = code;
    send(code, parameters);
    const size_t wanted = answersTwice(code) ? 2 : 1;
    int foreign = 0;
    while (result.responses.size() < wanted) {
        std::optional<Response> response = awaitInterrupt();
        if (!response) return result;
        if (response->interrupt == 1 && !startsRead(code)) {
            if (++foreign > kForeignInterruptLimit) return result;
            continue;  // a sector or a report, not this command's answer
        }
        result.responses.push_back(std::move(*response));
        if (result.responses.back().interrupt == 5) break;
    }
    result.complete = true;
    return result;
}

std::optional<SectorData> ConsoleDriver::nextSector(uint32_t bytes) {
    std::optional<Response> response = awaitInterrupt();
    if (!response || response->interrupt != 1) return std::nullopt;
    SectorData sector;
    sector.response = std::move(*response);
    requestData();
    sector.dma = dma(dmaAddress_, bytes / 4);
    sector.data.resize(bytes / 4 * 4);
    if (!console_.readRam(dmaAddress_, sector.data.data(), sector.data.size())) sector.data.clear();
    return sector;
}

std::vector<std::vector<uint8_t>> ConsoleDriver::readSectors(int32_t lba, int count, uint32_t bytes) {
    std::vector<std::vector<uint8_t>> sectors;
    const lumadisc::Msf at = lumadisc::bcdMsf(lumadisc::msfFromLba(lba));
    if (command(kCmdSetloc, {at.minute, at.second, at.frame}).error()) return sectors;
    const CommandResult read = command(kCmdReadN);
    if (read.complete && !read.error()) {
        for (int i = 0; i < count; ++i) {
            std::optional<SectorData> sector = nextSector(bytes);
            if (!sector) break;
            sectors.push_back(std::move(sector->data));
        }
    }
    command(kCmdPause);
    return sectors;
}

void ConsoleDriver::runFrames(int frames) {
    for (int i = 0; i < frames; ++i) {
        console_.advance(kTicksPerFrame);
        console_.poll();
    }
}

bool ConsoleDriver::closeCover(int maxFrames) {
    char text[64];
    std::snprintf(text, sizeof text, "cover-close key 0x%02X pressed for one frame", kKeyCoverClose);
    note(text);
    console_.pressKey(kKeyCoverClose);
    runFrames(1);
    console_.releaseKey(kKeyCoverClose);
    for (int frames = 1; frames < maxFrames; frames += 10) {
        runFrames(10);
        const CommandResult stat = command(kCmdGetStat);
        if (stat.complete && !stat.bytes().empty() && !(stat.bytes()[0] & kStatShellOpen)) return true;
    }
    return false;
}

const char* ConsoleDriver::commandName(uint8_t code) {
    static const char* const kNames[0x20] = {
        "Sync",   "GetStat", "Setloc",  "Play",    "Forward", "Backward", "ReadN",  "MotorOn",
        "Stop",   "Pause",   "Init",    "Mute",    "Demute",  "Setfilter", "Setmode", "Getparam",
        "GetlocL", "GetlocP", "0x12",   "GetTN",   "GetTD",   "SeekL",    "SeekP",  "0x17",
        "0x18",   "Test",    "GetID",   "ReadS",   "Reset",   "0x1D",     "ReadTOC", "0x1F"};
    return code < 0x20 ? kNames[code] : "?";
}

std::string ConsoleDriver::format(const TraceEntry& entry) {
    char line[256];
    const unsigned long long tick = entry.tick;
    switch (entry.kind) {
    case TraceEntry::Kind::Command:
        std::snprintf(line, sizeof line, "%11llu  > %-9s %s", tick, commandName(entry.code),
                      hexList(entry.bytes).c_str());
        break;
    case TraceEntry::Kind::Response:
        std::snprintf(line, sizeof line, "%11llu  < INT%u  %-24s (+%llu)", tick, entry.code,
                      hexList(entry.bytes).c_str(), static_cast<unsigned long long>(entry.sinceCommand));
        break;
    case TraceEntry::Kind::Acknowledge:
        std::snprintf(line, sizeof line, "%11llu    acknowledge", tick);
        break;
    case TraceEntry::Kind::DataRequest:
        std::snprintf(line, sizeof line, "%11llu    data request", tick);
        break;
    case TraceEntry::Kind::Dma:
        if (entry.dma.started)
            std::snprintf(line, sizeof line, "%11llu    DMA %u words to 0x%08X, handler returned %u%s", tick,
                          entry.dma.blockControl & 0xFFFFu, entry.dma.address, entry.dma.result,
                          entry.dma.overrun ? " (wrote past the transfer)" : "");
        else
            std::snprintf(line, sizeof line, "%11llu    DMA %u words to 0x%08X refused", tick,
                          entry.dma.blockControl & 0xFFFFu, entry.dma.address);
        break;
    case TraceEntry::Kind::Note:
        std::snprintf(line, sizeof line, "%11llu    %s", tick, entry.text.c_str());
        break;
    }
    std::string text = line;
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

}  // namespace lumadisc::host
