// lumadisc xa: plays an XA audio stream of a disc through the plugin's extended face, as a console's
// firmware does (Setfilter, Setmode with XA audio, Setloc, ReadS, each sector acknowledged and pulled
// by DMA), and writes the blocks the plugin hands to spuPlayCDXA as a 16-bit PCM WAV file.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/console_driver.h"
#include "host/console_host.h"
#include "host/scratch_dir.h"
#include "src/disc/cd_utility.h"
#include "tools/fixtures/wav_pcm.h"
#include "tools/lumadisc/command_table.h"
#include "tools/lumadisc/commands.h"

namespace lumadisc::tool {

namespace {

using host::ConsoleDriver;
using host::ConsoleHost;

constexpr uint8_t kModeXaFilter = 0x08;
constexpr uint8_t kModeWholeSector = 0x20;  // DMA hands out 2340 bytes from the header on
constexpr uint8_t kModeXaAudio = 0x40;
constexpr uint8_t kModeDoubleSpeed = 0x80;
constexpr uint32_t kWholeSector = 2340;
constexpr long kDefaultSectorLimit = 80L * 60 * 75;  // a whole disc
constexpr int kPeekSectors = 32;  // how far to look for the stream's file number

struct XaOptions {
    std::string disc;
    Msf start;
    std::optional<long> file, channel;
    long sectors = kDefaultSectorLimit;
    std::string wav;
};

bool parseMsf(const std::string& text, Msf* msf) {
    long parts[3];
    size_t at = 0;
    for (int i = 0; i < 3; ++i) {
        const size_t end = i < 2 ? text.find(':', at) : text.size();
        if (end == std::string::npos || !parseNumber(text.substr(at, end - at), &parts[i])) return false;
        at = end + 1;
    }
    if (parts[0] < 0 || parts[0] > 99 || parts[1] < 0 || parts[1] > 59 || parts[2] < 0 || parts[2] > 74) return false;
    *msf = Msf{static_cast<uint8_t>(parts[0]), static_cast<uint8_t>(parts[1]), static_cast<uint8_t>(parts[2])};
    return true;
}

int parseArguments(const Arguments& arguments, XaOptions* options) {
    std::string msf;
    size_t positional = 0;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        const bool valued = word == "--file" || word == "--channel" || word == "--sectors" || word == "--wav";
        if (!valued) {
            if (positional == 0) options->disc = word;
            if (positional == 1) msf = word;
            ++positional;
            continue;
        }
        if (i + 1 >= arguments.size()) return kExitUsage;
        const std::string& value = arguments[++i];
        long number = 0;
        if (word == "--wav") {
            options->wav = value;
        } else if (!parseNumber(value, &number) || number < 0 || (word != "--sectors" && number > 255) ||
                   (word == "--sectors" && number < 1)) {
            return kExitUsage;
        } else if (word == "--file") {
            options->file = number;
        } else if (word == "--channel") {
            options->channel = number;
        } else {
            options->sectors = number;
        }
    }
    if (positional != 2 || options->wav.empty() || !parseMsf(msf, &options->start)) return kExitUsage;
    return kExitOk;
}

std::vector<uint8_t> setlocParameters(const Msf& msf) {
    return {lumadisc::bcdFromBinary(msf.minute), lumadisc::bcdFromBinary(msf.second), lumadisc::bcdFromBinary(msf.frame)};
}

// The file number of the first XA audio sector from `start` on, read without XA decoding.
std::optional<uint8_t> peekFile(ConsoleDriver& driver, const Msf& start) {
    driver.command(host::kCmdSetmode, {kModeWholeSector | kModeDoubleSpeed});
    driver.command(host::kCmdSetloc, setlocParameters(start));
    std::optional<uint8_t> file;
    if (driver.command(host::kCmdReadS).complete) {
        for (int i = 0; i < kPeekSectors && !file; ++i) {
            const auto sector = driver.nextSector(kWholeSector);
            if (!sector || sector->data.size() < 8 || sector->data[3] != 2) break;
            if (sector->data[6] & 0x04) file = sector->data[4];
        }
    }
    driver.command(host::kCmdPause);
    return file;
}

// Appends PCM blocks to a WAV file whose header is rewritten with the final size at the end.
class WavStream {
public:
    ~WavStream() {
        if (file_) std::fclose(file_);
    }
    bool open(const std::string& path) {
        file_ = std::fopen(path.c_str(), "wb");
        return file_ && write(fixtures::wavPcmHeader(0, 1, 0));
    }
    bool append(const XaAudio& block) {
        if (samples_ == 0 && blocks_ == 0) {
            rate_ = block.rate;
            channels_ = block.stereo ? 2 : 1;
        }
        ++blocks_;
        const int64_t count = std::clamp<int64_t>(int64_t{block.sampleCount} * channels_, 0, 16384);
        std::vector<uint8_t> bytes(static_cast<size_t>(count) * 2);
        for (int64_t i = 0; i < count; ++i) {
            writeLe16(bytes.data() + 2 * i, static_cast<uint16_t>(block.samples[i]));
        }
        samples_ += static_cast<uint64_t>(count);
        return write(bytes);
    }
    bool finish() {
        const bool ok = std::fseek(file_, 0, SEEK_SET) == 0 &&
                        write(fixtures::wavPcmHeader(rate_, channels_, static_cast<uint32_t>(samples_)));
        const bool closed = std::fclose(file_) == 0;
        file_ = nullptr;
        return ok && closed;
    }
    uint64_t blocks() const { return blocks_; }
    uint64_t frames() const { return channels_ ? samples_ / static_cast<uint64_t>(channels_) : 0; }
    int rate() const { return rate_; }
    int channels() const { return channels_; }

private:
    bool write(const std::vector<uint8_t>& bytes) {
        return std::fwrite(bytes.data(), 1, bytes.size(), file_) == bytes.size();
    }
    FILE* file_ = nullptr;
    uint64_t blocks_ = 0, samples_ = 0;
    int rate_ = 0, channels_ = 1;
};

}  // namespace

int runXa(const CommonOptions& options, const Arguments& arguments) {
    XaOptions xa;
    if (parseArguments(arguments, &xa) != kExitOk) return usageError("xa");
    const std::string wavPath = host::absolutePath(xa.wav);
    SessionSetup setup;
    setup.extended = true;
    setup.configureConsole = [](ConsoleHost& console) { console.setCddaRecorder(0, 0); };
    Session session(options);
    if (const int code = session.start(xa.disc, setup); code != kExitOk) return code;
    ConsoleHost* console = &session.console();
    auto finish = [&](int code) { return session.finish(code); };

    ConsoleDriver driver(*console);
    driver.setTracing(false);
    driver.command(host::kCmdInit);
    driver.closeCover();
    if (!xa.file) {
        const std::optional<uint8_t> found = peekFile(driver, xa.start);
        if (!found) {
            std::fprintf(stderr, "lumadisc: no XA audio sector within %d sectors of %s\n", kPeekSectors,
                         msfText(xa.start).c_str());
            return finish(kExitFailure);
        }
        xa.file = *found;
    }
    const auto file = static_cast<uint8_t>(*xa.file);
    const auto channel = static_cast<uint8_t>(xa.channel.value_or(0));
    driver.command(host::kCmdSetfilter, {file, channel});
    driver.command(host::kCmdSetmode,
                   {static_cast<uint8_t>(kModeXaAudio | kModeWholeSector | kModeDoubleSpeed |
                                         (xa.channel ? kModeXaFilter : 0))});
    driver.command(host::kCmdSetloc, setlocParameters(xa.start));

    WavStream wav;
    if (!wav.open(wavPath)) {
        std::fprintf(stderr, "lumadisc: cannot write %s\n", xa.wav.c_str());
        return finish(kExitFailure);
    }
    console->clearXa();
    long read = 0;
    bool writeFailed = false;
    const char* stop = "the sector limit";
    if (driver.command(host::kCmdReadS).complete) {
        while (read < xa.sectors) {
            const auto sector = driver.nextSector(kWholeSector);
            if (!sector || sector->data.size() < 8 || sector->data[3] != 2) {
                stop = "the end of the data track";
                break;
            }
            ++read;
            for (const XaAudio& block : console->xaBlocks()) writeFailed |= !wav.append(block);
            console->clearXa();
            const uint8_t* subheader = sector->data.data() + 4;
            const bool ours = (subheader[2] & 0x04) && subheader[0] == file && (!xa.channel || subheader[1] == channel);
            if (ours && (subheader[2] & 0x80)) {
                stop = "the stream's end-of-file sector";
                break;
            }
        }
    }
    driver.command(host::kCmdPause);
    if (!wav.finish() || writeFailed) {
        std::fprintf(stderr, "lumadisc: cannot write %s\n", xa.wav.c_str());
        return finish(kExitFailure);
    }
    const std::string channels = xa.channel ? "channel " + std::to_string(channel) : "every channel";
    std::printf("file %u, %s from %s: %ld sectors read up to %s\n", file, channels.c_str(),
                msfText(xa.start).c_str(), read, stop);
    if (wav.blocks() == 0) {
        std::printf("no XA audio reached spuPlayCDXA; %s holds no samples\n", xa.wav.c_str());
        return finish(kExitFailure);
    }
    std::printf("%llu XA blocks, %d Hz %s, %llu frames (%.2f s) written to %s\n",
                static_cast<unsigned long long>(wav.blocks()), wav.rate(), wav.channels() == 2 ? "stereo" : "mono",
                static_cast<unsigned long long>(wav.frames()), static_cast<double>(wav.frames()) / wav.rate(),
                xa.wav.c_str());
    return finish(kExitOk);
}

}  // namespace lumadisc::tool
