// lumadisc verify: reads every sector of a disc through the plugin and checks what a sector carries
// about itself (sync, header address, EDC, ECC, the Q channel's CRC) and the track table's sanity.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "src/disc/cd_utility.h"
#include "tools/lumadisc/command_table.h"
#include "tools/lumadisc/commands.h"
#include "tools/lumadisc/progress.h"

namespace lumadisc::tool {

namespace {

constexpr size_t kProblemsListed = 1000;
constexpr uint8_t kForm2Submode = 0x20;

struct Problem {
    Lba lba = 0;        // -1 for the track table
    std::string check;  // "read", "sync", "header", "edc", "ecc", "mode", "subchannel", "table"
    std::string message;
};

struct Report {
    std::vector<Problem> problems;
    size_t problemCount = 0;
    int64_t dataSectors = 0, audioSectors = 0, edcChecked = 0, eccChecked = 0;
    void add(Lba lba, const char* check, const std::string& message) {
        ++problemCount;
        if (problems.size() < kProblemsListed) problems.push_back({lba, check, message});
    }
};

// EDC and ECC of a data sector, recomputed into a copy and compared with the sector's own.
void checkDataSector(Lba lba, const uint8_t* sector, Report* report) {
    uint8_t copy[kRawSectorSize];
    std::memcpy(copy, sector, sizeof copy);
    const uint8_t mode = sector[kSectorModeOffset];
    int edcAt = 0, eccFrom = 0;
    if (mode == 1) {
        fillMode1EdcEcc(copy);
        edcAt = 2064;
        eccFrom = 2076;
    } else if (mode == 2 && (sector[kSubheaderOffset + 2] & kForm2Submode)) {
        if (readLe32(sector + 2348) == 0) return;  // Form 2 may leave its EDC out
        fillForm2Edc(copy);
        edcAt = 2348;
    } else if (mode == 2) {
        fillForm1EdcEcc(copy);
        edcAt = 2072;
        eccFrom = 2076;
    } else {
        if (mode != 0) report->add(lba, "mode", "unknown sector mode " + std::to_string(mode));
        return;
    }
    ++report->edcChecked;
    if (std::memcmp(copy + edcAt, sector + edcAt, 4) != 0) {
        char text[96];
        std::snprintf(text, sizeof text, "EDC mismatch (stored %08x, computed %08x)", readLe32(sector + edcAt),
                      readLe32(copy + edcAt));
        report->add(lba, "edc", text);
        return;  // the parity covers the EDC: one fault, one report
    }
    if (eccFrom == 0) return;
    ++report->eccChecked;
    if (std::memcmp(copy + eccFrom, sector + eccFrom, kRawSectorSize - eccFrom) != 0)
        report->add(lba, "ecc", "ECC (P/Q parity) mismatch");
}

void checkSector(Lba lba, bool dataTrack, long result, const uint8_t* sector, const uint8_t* subchannel,
                 Report* report) {
    if (result < 0) {
        report->add(lba, "read", "the plugin could not read the sector (result " + std::to_string(result) + ")");
        return;
    }
    if (!qCrcValid(subchannel + kSubchannelQOffset)) report->add(lba, "subchannel", "Q channel CRC mismatch");
    if (!sectorHasSync(sector)) {
        ++report->audioSectors;
        // Every sector of a data track is a data sector, its gaps included (they hold empty data sectors).
        if (dataTrack) report->add(lba, "sync", "data track sector without sync");
        return;
    }
    ++report->dataSectors;
    const Lba headerLba = lbaFromBcdMsf(sector + kSectorHeaderOffset);
    if (headerLba != lba) {
        report->add(lba, "header", "header address " + msfText(msfFromLba(headerLba)) + " where " +
                                       msfText(msfFromLba(lba)) + " belongs");
    }
    checkDataSector(lba, sector, report);
}

void checkTable(const std::vector<host::TrackInfo>& tracks, Lba leadOut, Report* report) {
    if (tracks.empty()) report->add(-1, "table", "the disc reports no track");
    if (leadOut <= 0) report->add(-1, "table", "the lead-out is at " + std::to_string(leadOut));
    for (size_t i = 0; i < tracks.size(); ++i) {
        const host::TrackInfo& track = tracks[i];
        const std::string name = "track " + std::to_string(track.number);
        if (track.lba < 0) report->add(-1, "table", name + " starts before sector 0");
        if (track.lba >= leadOut) report->add(-1, "table", name + " starts at or after the lead-out");
        if (i > 0 && track.lba <= tracks[i - 1].lba) report->add(-1, "table", name + " does not start after the one before");
    }
}

std::string jsonText(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') out += std::string("\\") + c;
        else if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
        } else out += c;
    }
    return out + "\"";
}

void printJson(const std::string& disc, const std::vector<host::TrackInfo>& tracks, Lba leadOut, const Report& r) {
    std::printf("{\n  \"disc\": %s,\n  \"kind\": %s,\n  \"ok\": %s,\n  \"leadOut\": %d,\n  \"tracks\": [",
                jsonText(disc).c_str(), jsonText(discKindName(disc)).c_str(), r.problemCount ? "false" : "true", leadOut);
    for (size_t i = 0; i < tracks.size(); ++i) {
        std::printf("%s\n    {\"number\": %d, \"type\": \"%s\", \"lba\": %d, \"length\": %d}", i ? "," : "",
                    tracks[i].number, tracks[i].audio ? "audio" : "data", tracks[i].lba, tracks[i].length);
    }
    std::printf("\n  ],\n  \"sectors\": %d,\n  \"dataSectors\": %lld,\n  \"otherSectors\": %lld,\n"
                "  \"edcChecked\": %lld,\n  \"eccChecked\": %lld,\n  \"problemCount\": %zu,\n  \"problems\": [",
                std::max(leadOut, 0), static_cast<long long>(r.dataSectors), static_cast<long long>(r.audioSectors),
                static_cast<long long>(r.edcChecked), static_cast<long long>(r.eccChecked), r.problemCount);
    for (size_t i = 0; i < r.problems.size(); ++i) {
        const Problem& p = r.problems[i];
        std::printf("%s\n    {\"lba\": %d, \"msf\": \"%s\", \"check\": \"%s\", \"message\": %s}", i ? "," : "", p.lba,
                    p.lba < 0 ? "" : msfText(msfFromLba(p.lba)).c_str(), p.check.c_str(), jsonText(p.message).c_str());
    }
    std::printf("\n  ]\n}\n");
}

void printSummary(const std::string& disc, const std::vector<host::TrackInfo>& tracks, Lba leadOut, const Report& r) {
    std::printf("disc:        %s\n", disc.c_str());
    std::printf("tracks:      %zu, lead-out at LBA %d\n", tracks.size(), leadOut);
    std::printf("sectors:     %d read (%lld data, %lld audio or empty)\n", std::max(leadOut, 0),
                static_cast<long long>(r.dataSectors), static_cast<long long>(r.audioSectors));
    std::printf("checked:     %lld EDC, %lld ECC, every header and Q channel\n", static_cast<long long>(r.edcChecked),
                static_cast<long long>(r.eccChecked));
    for (const Problem& p : r.problems) {
        if (p.lba < 0) std::printf("  track table: %s\n", p.message.c_str());
        else std::printf("  sector %d (%s): %s\n", p.lba, msfText(msfFromLba(p.lba)).c_str(), p.message.c_str());
    }
    if (r.problemCount > r.problems.size()) std::printf("  ... and %zu more\n", r.problemCount - r.problems.size());
    std::printf("result:      %s (%zu problem%s)\n", r.problemCount ? "FAILED" : "ok", r.problemCount,
                r.problemCount == 1 ? "" : "s");
}

}  // namespace

int runVerify(const CommonOptions& options, const Arguments& arguments) {
    bool json = false;
    Arguments positional;
    for (const std::string& word : arguments) {
        if (word == "--json") json = true;
        else positional.push_back(word);
    }
    if (positional.size() != 1) {
        return usageError("verify");
    }
    Session session(options);
    if (const int code = session.start(positional[0]); code != kExitOk) return code;
    host::ClassicHost& host = session.classic();
    const std::vector<host::TrackInfo> tracks = host.tracks();
    const Lba leadOut = host.leadOut();
    Report report;
    checkTable(tracks, leadOut, &report);
    ProgressBar progress("verify", leadOut);
    size_t track = 0;
    for (Lba lba = 0; lba < leadOut; ++lba) {
        while (track + 1 < tracks.size() && tracks[track + 1].lba <= lba) ++track;
        const long result = host.readSector(lba).result;
        uint8_t sector[kRawSectorSize], subchannel[kSubchannelSize];
        host.readRaw(lba, sector, subchannel);
        // The sector's own position block says which kind of track it belongs to (a gap ahead of a
        // track is that track's); without one, the track table does.
        const uint8_t* q = subchannel + kSubchannelQOffset;
        const bool dataTrack = qCrcValid(q) && (q[0] & 0x0F) == 1 ? (q[0] & 0x40) != 0
                                                                   : !tracks.empty() && !tracks[track].audio;
        checkSector(lba, dataTrack, result, sector, subchannel, &report);
        progress.update(lba + 1);
    }
    progress.finish();
    if (json) printJson(session.disc(), tracks, leadOut, report);
    else printSummary(session.disc(), tracks, leadOut, report);
    return report.problemCount ? kExitFailure : kExitOk;
}

}  // namespace lumadisc::tool
