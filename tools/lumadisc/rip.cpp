// lumadisc rip: copies the disc in a drive to a CUE/BIN (and .sub), with retries and a progress bar.
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <memory>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "src/config/log.h"
#include "src/config/settings.h"
#include "src/disc/cd_utility.h"
#include "src/drive/cdrom_drive.h"
#include "src/drive/sense_messages.h"
#include "src/support/paths.h"
#include "host/scratch_dir.h"
#include "tools/lumadisc/cleanup_on_signal.h"
#include "tools/lumadisc/command_table.h"
#include "tools/lumadisc/commands.h"

namespace lumadisc::tool {

namespace {

constexpr long kDefaultRetries = 3;
constexpr long kMaxRetries = 20;
constexpr Lba kMaxSectors = 100 * kFramesPerMinute;

std::atomic<int> g_interrupted{0};


struct Unreadable {
    Lba lba;
    SenseCodes sense;
};

// The output files, written under temporary names and renamed only once everything is in them.
struct Outputs {
    std::string cue, bin, sub;

    static std::string part(const std::string& path) { return path + ".part"; }
    void removeParts() const {
        for (const std::string* path : {&cue, &bin, &sub})
            if (!path->empty()) std::remove(part(*path).c_str());
    }
    bool publish() const {
        for (const std::string* path : {&bin, &sub, &cue})  // the sheet last: it makes the image visible
            if (!path->empty() && std::rename(part(*path).c_str(), path->c_str()) != 0) return false;
        return true;
    }
};

std::string baseName(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The position of a sector within the image file, as a sheet writes it.
std::string fileTime(Lba lba) { return msfText(msfFromFrames(lba)); }

std::string senseText(const SenseCodes& sense) {
    const char* text = senseCodeText(sense.asc, sense.ascq);
    char codes[32];
    std::snprintf(codes, sizeof codes, "%X/%02X/%02X", sense.key, sense.asc, sense.ascq);
    return std::string(senseKeyName(sense.key)) + (text ? std::string(", ") + text : "") + " (" + codes + ")";
}

bool tableUsable(const TrackTable& table) {
    if (table.rows() < 2) return false;
    Lba previous = -1;
    for (int track = 1; track < table.rows(); ++track) {
        if (table.row(track).start <= previous) return false;
        previous = table.row(track).start;
    }
    const Lba leadOut = table.row(0).start;
    return table.row(1).start >= 0 && leadOut > previous && leadOut <= kMaxSectors;
}

void showProgress(Lba done, Lba total) {
    constexpr int kWidth = 40;
    const int filled = static_cast<int>(static_cast<int64_t>(done) * kWidth / total);
    std::fprintf(stderr, "\r[%s%s] %3d%%  %d/%d sectors", std::string(filled, '#').c_str(),
                 std::string(kWidth - filled, '.').c_str(), static_cast<int>(int64_t{done} * 100 / total), done, total);
    if (done == total) std::fputc('\n', stderr);
}

class Ripper {
public:
    Ripper(bool withSub, long retries) : withSub_(withSub), retries_(retries) {}

    // Reads every sector of the disc into the open files; false when interrupted.
    bool copy(Lba leadOut, FILE* bin, FILE* sub, std::vector<uint8_t>& modes, const TrackTable& table);
    bool subchannelRead() const { return withSub_; }
    const std::vector<Unreadable>& unreadable() const { return unreadable_; }
    long recovered() const { return recovered_; }
    bool writeFailed() const { return writeFailed_; }

private:
    bool readOne(Lba lba, uint8_t* buffer);

    bool withSub_;
    const long retries_;
    std::vector<Unreadable> unreadable_;
    long recovered_ = 0;
    bool writeFailed_ = false;
};

bool Ripper::readOne(Lba lba, uint8_t* buffer) {
    for (long attempt = 0; attempt <= retries_; ++attempt) {
        const int result = withSub_ ? cdromReadSectorWithSub(lba, buffer) : cdromReadSector(lba, buffer);
        if (result == 0) {
            if (attempt > 0) ++recovered_;
            return true;
        }
        if (withSub_ && cdromLastSense().key == 0x05 && cdromLastSense().asc != 0x21) {
            // The drive refuses the subchannel part of the command: carry on with sectors alone.
            std::fprintf(stderr, "lumadisc: the drive does not return raw subchannel data; no .sub is written\n");
            withSub_ = false;
            attempt = -1;
        }
        if (g_interrupted) return false;
    }
    unreadable_.push_back({lba, cdromLastSense()});
    return false;
}

bool Ripper::copy(Lba leadOut, FILE* bin, FILE* sub, std::vector<uint8_t>& modes, const TrackTable& table) {
    const bool progress = isatty(STDERR_FILENO);
    uint8_t buffer[kRawSectorWithSubSize];
    uint8_t block[kSubchannelSize];
    for (Lba lba = 0; lba < leadOut; ++lba) {
        if (g_interrupted) return false;
        std::memset(buffer, 0, sizeof buffer);
        const bool read = readOne(lba, buffer);
        if (!read) std::memset(buffer, 0, sizeof buffer);
        if (g_interrupted) return false;
        for (int track = 1; track < table.rows(); ++track)
            if (read && table.row(track).start == lba && sectorHasSync(buffer)) modes[track] = buffer[kSectorModeOffset];
        if (std::fwrite(buffer, 1, kRawSectorSize, bin) != kRawSectorSize) writeFailed_ = true;
        if (sub) {
            deinterleaveSubchannel(buffer + kRawSectorSize, block);
            if (!withSub_) std::memset(block, 0, sizeof block);
            if (std::fwrite(block, 1, sizeof block, sub) != sizeof block) writeFailed_ = true;
        }
        if (writeFailed_) return true;
        if (progress && (lba % kFramesPerSecond == 0 || lba + 1 == leadOut)) showProgress(lba + 1, leadOut);
    }
    return true;
}

std::string sheetText(const TrackTable& table, const std::vector<uint8_t>& modes, const std::string& binName) {
    std::string text = "FILE \"" + binName + "\" BINARY\n";
    char line[64];
    for (int track = 1; track < table.rows(); ++track) {
        const bool audio = table.row(track).type == kTrackAudio;
        const char* mode = audio ? "AUDIO" : modes[track] == 1 ? "MODE1/2352" : "MODE2/2352";
        std::snprintf(line, sizeof line, "  TRACK %02d %s\n    INDEX 01 %s\n", track, mode,
                      fileTime(table.row(track).start).c_str());
        text += line;
    }
    return text;
}

int ripDisc(const std::string& drive, Outputs& outputs, bool withSub, long retries);

}  // namespace

int runRip(const CommonOptions& options, const Arguments& arguments) {
    Arguments positional;
    bool withSub = false;
    long retries = kDefaultRetries;
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--sub") {
            withSub = true;
        } else if (arguments[i] == "--retries") {
            if (i + 1 >= arguments.size() || !parseNumber(arguments[++i], &retries) || retries < 0 ||
                retries > kMaxRetries) {
                std::fprintf(stderr, "lumadisc: --retries takes a number from 0 to %ld\n", kMaxRetries);
                return kExitUsage;
            }
        } else {
            positional.push_back(arguments[i]);
        }
    }
    if (positional.size() != 2 || positional[1].size() <= 4 || !endsWithNoCase(positional[1].c_str(), ".cue")) {
        return usageError("rip");
    }
    const std::string& drive = positional[0];
    Outputs outputs;
    outputs.cue = positional[1];
    const std::string stem = outputs.cue.substr(0, outputs.cue.size() - 4);
    outputs.bin = stem + ".bin";
    if (withSub) outputs.sub = stem + ".sub";

    settingsDefaults(&g_settings);
    // With --log the drive layer's lines go to a scratch log that is shown at the end, as for the
    // commands that run the plugin.
    std::unique_ptr<host::ScratchDir> logDirectory;
    if (options.log) {
        logDirectory = std::make_unique<host::ScratchDir>("lumadisc-rip");
        g_settings.enablelogging = 1;
        logOpen(logDirectory->file("lumaDisc.log").c_str());
    }
    const int code = ripDisc(drive, outputs, withSub, retries);
    if (logDirectory) {
        logClose();
        std::fprintf(stderr, "--- drive log ---\n%s", host::readFile(logDirectory->file("lumaDisc.log")).c_str());
    }
    return code;
}

namespace {

int ripDisc(const std::string& drive, Outputs& outputs, bool withSub, long retries) {
    if (cdromOpen(drive.c_str()) != 0) {
        std::fprintf(stderr, "lumadisc: %s is not an optical drive, or it cannot be opened\n", drive.c_str());
        return kExitFailure;
    }
    uint8_t toc[kTocResponseSize];
    TrackTable table;
    if (cdromReadToc(toc) == 0) cdromTocTable(toc, table);
    if (!tableUsable(table)) {
        const SenseCodes sense = cdromLastSense();
        std::fprintf(stderr, "lumadisc: the table of contents of %s cannot be used%s\n", drive.c_str(),
                     table.rows() == 0 ? (": " + senseText(sense)).c_str() : "");
        cdromClose();
        return kExitFailure;
    }
    const Lba leadOut = table.row(0).start;


    FILE* bin = std::fopen(Outputs::part(outputs.bin).c_str(), "wb");
    FILE* sub = withSub ? std::fopen(Outputs::part(outputs.sub).c_str(), "wb") : nullptr;
    if (!bin || (withSub && !sub)) {
        std::fprintf(stderr, "lumadisc: cannot write beside %s\n", outputs.cue.c_str());
        if (bin) std::fclose(bin);
        if (sub) std::fclose(sub);
        outputs.removeParts();
        cdromClose();
        return kExitFailure;
    }
    // From here a signal ends the copy cleanly: the drive is restored and the parts removed.
    interruptOnSignal(&g_interrupted);
    std::vector<uint8_t> modes(static_cast<size_t>(table.rows()), 2);
    Ripper ripper(withSub, retries);
    const bool complete = ripper.copy(leadOut, bin, sub, modes, table);
    cdromClose();
    bool written = !ripper.writeFailed();
    written = std::fclose(bin) == 0 && written;
    if (sub) written = std::fclose(sub) == 0 && written;
    interruptOnSignal(nullptr);
    if (!complete) {
        outputs.removeParts();
        std::fprintf(stderr, "\nlumadisc: interrupted; nothing was written\n");
        return 128 + (g_interrupted.load() != 0 ? g_interrupted.load() : SIGINT);
    }
    if (withSub && !ripper.subchannelRead()) {
        std::remove(Outputs::part(outputs.sub).c_str());
        outputs.sub.clear();
    }
    const std::string sheet = sheetText(table, modes, baseName(outputs.bin));
    FILE* cue = std::fopen(Outputs::part(outputs.cue).c_str(), "wb");
    if (cue) written = std::fwrite(sheet.data(), 1, sheet.size(), cue) == sheet.size() && written;
    if (!cue || std::fclose(cue) != 0 || !written || !outputs.publish()) {
        outputs.removeParts();
        std::fprintf(stderr, "lumadisc: cannot write %s\n", outputs.cue.c_str());
        return kExitFailure;
    }

    std::printf("ripped %d sectors in %d tracks to %s, %s%s%s\n", leadOut, table.rows() - 1, outputs.cue.c_str(),
                outputs.bin.c_str(), outputs.sub.empty() ? "" : ", ", outputs.sub.c_str());
    if (ripper.recovered() > 0) std::printf("sectors read after retries: %ld\n", ripper.recovered());
    const auto& unreadable = ripper.unreadable();
    if (unreadable.empty()) return kExitOk;
    std::printf("unreadable sectors: %zu (after %ld retries each; written as zeros)\n", unreadable.size(), retries);
    for (const Unreadable& sector : unreadable)
        std::printf("  LBA %d (%s): %s\n", sector.lba, msfText(msfFromLba(sector.lba)).c_str(),
                    senseText(sector.sense).c_str());
    return kExitUnreadable;
}

}  // namespace

}  // namespace lumadisc::tool
