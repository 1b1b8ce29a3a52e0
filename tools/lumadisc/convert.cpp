// lumadisc convert: writes any disc the plugin opens as a single-file CUE/BIN, with a ".sub" file
// when the disc has subchannel data of its own. Everything is written under temporary names and
// renamed at the end, so an interrupted or failed run leaves nothing under the final names.
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "src/disc/cd_utility.h"
#include "tools/lumadisc/sheet_gaps.h"
#include "tools/lumadisc/cleanup_on_signal.h"
#include "tools/lumadisc/command_table.h"
#include "tools/lumadisc/commands.h"
#include "tools/lumadisc/progress.h"

namespace lumadisc::tool {

namespace {

std::atomic<int> g_interrupted{0};


std::string withExtension(const std::string& path, const char* extension) {
    const size_t slash = path.rfind('/');
    const size_t dot = path.rfind('.');
    const std::string stem = dot != std::string::npos && (slash == std::string::npos || dot > slash) ? path.substr(0, dot) : path;
    return stem + extension;
}

std::string baseName(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The block the plugin makes up for a disc without subchannel data: track 1, index 1, both times
// counted from sector 0, nothing in the other channels. Anything else is the disc's own.
bool isGeneratedBlock(Lba lba, const uint8_t* block) {
    // A block the plugin generated is the one the disc model's writer makes of its own Q fields (track,
    // index, relative time) at this sector's absolute time: nothing else in it is the disc's own.
    const uint8_t* q = block + kSubchannelQOffset;
    const int64_t relative = static_cast<int64_t>(lbaFromBcdMsf(q + 3)) + kLeadInFrames;
    uint8_t expected[kSubchannelSize];
    writeQBlock(expected, static_cast<uint8_t>(q[0] >> 4), q[1], q[2], relative,
                static_cast<int64_t>(lba) + kLeadInFrames);
    return std::memcmp(expected, block, kSubchannelSize) == 0;
}

// The sheet's mode word for a track from its first sector.
const char* trackMode(const host::TrackInfo& track, const uint8_t* firstSector) {
    if (track.audio) return "AUDIO";
    return firstSector[kSectorModeOffset] == 1 ? "MODE1/2352" : "MODE2/2352";
}

struct Output {
    std::string finalPath, temporaryPath;
    FILE* file = nullptr;
};

class Outputs {
public:
    explicit Outputs(const std::string& cuePath) {
        const std::string suffix = ".part" + std::to_string(getpid());
        const char* extensions[] = {".cue", ".bin", ".sub"};
        for (int i = 0; i < 3; ++i) {
            outputs_[i].finalPath = i == 0 ? cuePath : withExtension(cuePath, extensions[i]);
            outputs_[i].temporaryPath = outputs_[i].finalPath + suffix;
        }
    }
    ~Outputs() { discard(); }
    Output& cue() { return outputs_[0]; }
    Output& bin() { return outputs_[1]; }
    Output& sub() { return outputs_[2]; }

    bool create() {
        for (Output& output : outputs_) {
            output.file = std::fopen(output.temporaryPath.c_str(), "wb");
            if (!output.file) {
                std::fprintf(stderr, "lumadisc: cannot write %s\n", output.temporaryPath.c_str());
                return false;
            }
        }
        return true;
    }
    // Closes the files and renames them (the sheet last); the subchannel file only when wanted.
    bool commit(bool keepSub) {
        bool ok = true;
        for (Output& output : outputs_) {
            if (output.file && std::fclose(output.file) != 0) ok = false;
            output.file = nullptr;
        }
        if (!keepSub) std::remove(sub().temporaryPath.c_str());
        if (!keepSub) std::remove(sub().finalPath.c_str());  // a stale one would be read with the new image
        for (Output* output : {&bin(), &sub(), &cue()}) {
            if (output == &sub() && !keepSub) continue;
            if (!ok || std::rename(output->temporaryPath.c_str(), output->finalPath.c_str()) != 0) {
                std::fprintf(stderr, "lumadisc: cannot write %s\n", output->finalPath.c_str());
                return false;
            }
        }
        committed_ = true;
        return true;
    }
    void discard() {
        for (Output& output : outputs_) {
            if (output.file) std::fclose(output.file);
            output.file = nullptr;
            if (!committed_) std::remove(output.temporaryPath.c_str());
        }
    }

private:
    Output outputs_[3];
    bool committed_ = false;
};

}  // namespace

int runConvert(const CommonOptions& options, const Arguments& arguments) {
    if (arguments.size() != 2 || arguments[1].size() < 5 ||
        strcasecmp(arguments[1].c_str() + arguments[1].size() - 4, ".cue") != 0) {
        return usageError("convert");
    }
    const std::string cuePath = host::absolutePath(arguments[1]);  // before the session changes directory
    Session session(options);
    if (const int code = session.start(arguments[0]); code != kExitOk) return code;
    host::ClassicHost& host = session.classic();
    const std::vector<host::TrackInfo> tracks = host.tracks();
    const Lba leadOut = host.leadOut();
    if (tracks.empty() || leadOut <= 0) {
        std::fprintf(stderr, "lumadisc: %s reports no tracks; nothing to convert\n", session.disc().c_str());
        return kExitFailure;
    }
    Outputs outputs(cuePath);
    if (!outputs.create()) return kExitFailure;
    // From here a signal ends the copy cleanly: the temporary files are removed, nothing is renamed.
    interruptOnSignal(&g_interrupted);

    // The gaps of the source come back as it had them: stored ones as INDEX 00, generated ones as PREGAP.
    const SheetGaps gaps(session.disc());
    std::string sheet = "FILE \"" + baseName(outputs.bin().finalPath) + "\" BINARY\n";
    bool realSubchannel = false;
    bool ok = true;
    size_t track = 0;
    ProgressBar progress("convert", leadOut);
    for (Lba lba = 0; ok && lba < leadOut && !g_interrupted; ++lba) {
        if (gaps.generated(lba)) {
            progress.update(lba + 1);
            while (track < tracks.size() && tracks[track].lba == lba) ++track;  // cannot happen in a valid disc
            continue;
        }
        const long result = host.readSector(lba).result;
        uint8_t sector[kRawSectorSize], subchannel[kSubchannelSize];
        host.readRaw(lba, sector, subchannel);
        if (result < 0) {
            progress.finish();
            std::fprintf(stderr, "lumadisc: sector %d (%s) could not be read; nothing written\n", lba,
                         msfText(msfFromLba(lba)).c_str());
            ok = false;
            break;
        }
        while (track < tracks.size() && tracks[track].lba == lba) {
            const int number = tracks[track].number;
            char lines[160];
            int used = std::snprintf(lines, sizeof lines, "  TRACK %02d %s\n", number, trackMode(tracks[track], sector));
            if (gaps.pregap(number) > 0) {
                used += std::snprintf(lines + used, sizeof lines - static_cast<size_t>(used), "    PREGAP %s\n",
                                      msfText(msfFromFrames(gaps.pregap(number))).c_str());
            }
            if (const Lba index00 = gaps.index00(number); index00 >= 0) {
                used += std::snprintf(lines + used, sizeof lines - static_cast<size_t>(used), "    INDEX 00 %s\n",
                                      msfText(msfFromFrames(gaps.filePosition(index00))).c_str());
            }
            std::snprintf(lines + used, sizeof lines - static_cast<size_t>(used), "    INDEX 01 %s\n",
                          msfText(msfFromFrames(gaps.filePosition(lba))).c_str());
            sheet += lines;
            ++track;
        }
        realSubchannel = realSubchannel || !isGeneratedBlock(lba, subchannel);
        ok = std::fwrite(sector, sizeof sector, 1, outputs.bin().file) == 1 &&
             std::fwrite(subchannel, sizeof subchannel, 1, outputs.sub().file) == 1;
        progress.update(lba + 1);
    }
    progress.finish();
    interruptOnSignal(nullptr);
    if (const int signal = g_interrupted.load(); signal != 0) {
        std::fprintf(stderr, "lumadisc: interrupted; nothing written\n");
        return 128 + signal;
    }
    if (ok && track != tracks.size()) {
        std::fprintf(stderr, "lumadisc: the track table does not fit the sectors (track %d); nothing written\n",
                     tracks[track].number);
        ok = false;
    }
    ok = ok && std::fputs(sheet.c_str(), outputs.cue().file) >= 0;
    if (!ok || !outputs.commit(realSubchannel)) return kExitFailure;
    std::printf("wrote %s (%zu track%s, %d sectors)%s\n", outputs.cue().finalPath.c_str(), tracks.size(),
                tracks.size() == 1 ? "" : "s", gaps.filePosition(leadOut),
                realSubchannel ? (" and " + outputs.sub().finalPath).c_str() : "");
    return kExitOk;
}

}  // namespace lumadisc::tool
