// Drives the CD-ROM controller through its ports the way the console's firmware does: index,
// parameters and command; the clock runs until the interrupt; the interrupt number and the response
// bytes are read and the interrupt acknowledged; sectors are requested and pulled by DMA. Every step
// goes into a trace with the tick it happened at.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/console_host.h"
#include "src/disc/cd_utility.h"

namespace lumadisc::host {

// Command codes of the controller.
enum : uint8_t {
    kCmdSync = 0x00, kCmdGetStat = 0x01, kCmdSetloc = 0x02, kCmdPlay = 0x03, kCmdForward = 0x04,
    kCmdBackward = 0x05, kCmdReadN = 0x06, kCmdMotorOn = 0x07, kCmdStop = 0x08, kCmdPause = 0x09,
    kCmdInit = 0x0A, kCmdMute = 0x0B, kCmdDemute = 0x0C, kCmdSetfilter = 0x0D, kCmdSetmode = 0x0E,
    kCmdGetparam = 0x0F, kCmdGetlocL = 0x10, kCmdGetlocP = 0x11, kCmdGetTN = 0x13, kCmdGetTD = 0x14,
    kCmdSeekL = 0x15, kCmdSeekP = 0x16, kCmdTest = 0x19, kCmdGetID = 0x1A, kCmdReadS = 0x1B,
    kCmdReset = 0x1C, kCmdReadTOC = 0x1E,
};

// Status byte bits.
enum : uint8_t { kStatError = 0x01, kStatMotor = 0x02, kStatShellOpen = 0x10, kStatReading = 0x20,
                 kStatSeeking = 0x40, kStatPlaying = 0x80 };

// One emulated frame at 60 Hz of a 33.8688 MHz CPU: the host polls the plugin once per frame.
constexpr uint64_t kTicksPerFrame = 564480;

struct Response {
    uint8_t interrupt = 0;  // 1 to 5
    std::vector<uint8_t> bytes;
    uint64_t tick = 0;      // when the interrupt was taken
};

struct TraceEntry {
    enum class Kind { Command, Response, Acknowledge, DataRequest, Dma, Note };
    Kind kind = Kind::Note;
    uint64_t tick = 0;
    uint8_t code = 0;            // the command byte, or the interrupt number of a response
    std::vector<uint8_t> bytes;  // the parameters, or the response bytes
    uint64_t sinceCommand = 0;   // a response's ticks since its command was written
    DmaRecord dma;               // Kind::Dma
    std::string text;            // Kind::Note
};

struct CommandResult {
    uint8_t command = 0;
    std::vector<Response> responses;
    bool complete = false;  // every response the command gives arrived in time

    bool error() const;  // an INT5 answer
    // The first response's bytes (empty when none came).
    const std::vector<uint8_t>& bytes() const;
};

struct SectorData {
    Response response;          // the data-ready interrupt
    std::vector<uint8_t> data;  // what the DMA brought into RAM
    DmaRecord dma;
};

class ConsoleDriver {
public:
    explicit ConsoleDriver(ConsoleHost& console) : console_(console) {}

    // Ticks to wait for one interrupt before giving up (default: two seconds of CPU time).
    void setTimeout(uint64_t ticks) { timeout_ = ticks; }
    // Where sectors land in RAM.
    void setDmaAddress(uint32_t address) { dmaAddress_ = address; }
    uint32_t dmaAddress() const { return dmaAddress_; }
    // Whether the trace keeps acknowledgements and data requests (default on).
    void setTraceHandshakes(bool on) { traceHandshakes_ = on; }
    // Turns the trace off altogether (for long runs).
    void setTracing(bool on) { tracing_ = on; }

    // Writes index 0, the parameters and the command, and waits for the command's answer: the first
    // response and, for the commands that answer twice (Pause, Init, SeekL, SeekP, GetID, ReadTOC), the
    // second one; an error answer ends it. Sector and report interrupts that arrive meanwhile are
    // taken and acknowledged. For ReadN and ReadS only the first response is awaited.
    CommandResult command(uint8_t code, const std::vector<uint8_t>& parameters = {});
    // Writes the command without waiting.
    void send(uint8_t code, const std::vector<uint8_t>& parameters = {});
    // Runs the clock until the interrupt line is raised (or, at the time-out, the flag is found set),
    // reads the interrupt number and the response and acknowledges; nothing when no interrupt came.
    std::optional<Response> awaitInterrupt();
    // The interrupt flag as port 0x1803 shows it at index 1 (0 none).
    uint8_t interruptFlag();
    void acknowledge();
    void requestData();
    // DMA of `words` 32-bit words to address.
    DmaRecord dma(uint32_t address, uint32_t words);

    // The next sector of a running read: waits for its data-ready interrupt, requests the data and pulls
    // `bytes` (a multiple of 4) by DMA to the DMA address. Nothing when the next interrupt is not INT1.
    std::optional<SectorData> nextSector(uint32_t bytes = 2048);
    // Setloc to lba, ReadN, `count` sectors, Pause; the data of each sector delivered, in order.
    std::vector<std::vector<uint8_t>> readSectors(int32_t lba, int count, uint32_t bytes = 2048);
    // Presses the cover-close key for one frame, then runs frames (polling the plugin each) and asks
    // GetStat every ten frames until the shell-open bit clears; false when it does not within maxFrames.
    bool closeCover(int maxFrames = 200);
    // Runs the clock frame by frame, polling the plugin after each frame.
    void runFrames(int frames);

    const std::vector<TraceEntry>& trace() const { return trace_; }
    void clearTrace() { trace_.clear(); }
    void note(const std::string& text);

    static const char* commandName(uint8_t code);
    // One line per entry (no line feed), for people to read.
    static std::string format(const TraceEntry& entry);

private:
    Response takeResponse();
    void record(TraceEntry entry);

    ConsoleHost& console_;
    uint64_t timeout_ = 2 * 33868800ull;
    uint32_t dmaAddress_ = 0x80100000u;
    bool traceHandshakes_ = true;
    bool tracing_ = true;
    uint64_t commandTick_ = 0;
    std::vector<TraceEntry> trace_;
};

// Binary to BCD and back, for positions and track numbers on the ports.

}  // namespace lumadisc::host
