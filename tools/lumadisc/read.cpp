// lumadisc read: sectors through the plugin, shown field by field or written raw to a file.
#include <cstdio>
#include <cstring>
#include <memory>

#include "src/disc/cd_utility.h"
#include "tools/lumadisc/command_table.h"
#include "tools/lumadisc/commands.h"
#include "tools/lumadisc/output_file.h"

namespace lumadisc::tool {

namespace {

constexpr long kMaxCount = 1000000;
constexpr int kDataBytesShown = 32;

void printSector(Lba lba, const host::SectorRead& read) {
    const uint8_t* q = read.subchannel + kSubchannelQOffset;
    std::printf("LBA %d (%s) result %ld\n", lba, msfText(msfFromLba(lba)).c_str(), read.result);
    std::printf("  header     %s\n", hexBytes(read.header, 4).c_str());
    std::printf("  subheader  %s\n", hexBytes(read.subheader, 8).c_str());
    std::printf("  data       %s\n", hexBytes(read.data, kDataBytesShown).c_str());
    std::printf("  Q          %s (CRC %s)\n", hexBytes(q, 12).c_str(),
                qCrcValid(q) ? "ok" : "bad");
}

}  // namespace

int runRead(const CommonOptions& options, const Arguments& arguments) {
    std::string rawFile;
    Arguments positional;
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--raw") {
            if (i + 1 >= arguments.size()) {
                std::fprintf(stderr, "lumadisc: --raw needs a file\n");
                return kExitUsage;
            }
            rawFile = arguments[++i];
        } else {
            positional.push_back(arguments[i]);
        }
    }
    long lba = 0;
    long count = 1;
    if (positional.size() < 2 || positional.size() > 3 || !parseNumber(positional[1], &lba) ||
        (positional.size() == 3 && !parseNumber(positional[2], &count))) {
        return usageError("read");
    }
    if (lba < -kLeadInFrames || lba > 100 * kFramesPerMinute || count < 1 || count > kMaxCount) {
        std::fprintf(stderr, "lumadisc: LBA must lie in -150..450000 and COUNT in 1..%ld\n", kMaxCount);
        return kExitUsage;
    }
    Session session(options);
    if (const int code = session.start(positional[0]); code != kExitOk) return code;
    // The raw sectors go to a new file beside FILE that replaces it only once every sector is in: a
    // disc that fails, a full disc or a stop leaves FILE as it was.
    std::unique_ptr<OutputFile> raw;
    if (!rawFile.empty()) {
        raw = std::make_unique<OutputFile>(rawFile);
        if (!raw->open()) return kExitFailure;
    }
    int exitCode = kExitOk;
    for (long i = 0; i < count; ++i) {
        const Lba at = static_cast<Lba>(lba + i);
        if (raw) {
            uint8_t sector[kRawSectorSize];
            uint8_t subchannel[kSubchannelSize];
            session.classic().readRaw(at, sector, subchannel);
            if (!raw->write(sector, sizeof sector)) {
                exitCode = kExitFailure;
                break;
            }
            continue;
        }
        const host::SectorRead read = session.classic().readSector(at);
        printSector(at, read);
        if (read.result < 0) exitCode = kExitFailure;
    }
    if (raw && exitCode == kExitOk && !raw->commit()) exitCode = kExitFailure;
    return session.finish(exitCode);
}

}  // namespace lumadisc::tool
