#include "formats/clonecd.h"

#include <iniparser/iniparser.h>

#include <cstdio>

#include "config/log.h"
#include "support/regular_file.h"
#include "support/paths.h"

namespace lumadisc {

CCdClonecdSub g_clonecdSub;

namespace {

constexpr int kMaxTracks = 99;
constexpr int kNoIndex = -9999;
constexpr int kDataTrackMode = 2;
constexpr size_t kKeyCapacity = 4096;


}  // namespace

int clonecdReadControl(const char* path, TrackTable& table, std::vector<Lba>* gapStarts) {
    // Only a file is handed to the INI library, which would wait on a pipe.
    if (!isReadableRegularFile(path, nullptr)) return -1;
    dictionary* ini = iniparser_load(path);
    if (ini == nullptr) return -1;
    char key[kKeyCapacity];
    for (int track = 1; track <= kMaxTracks; ++track) {
        std::snprintf(key, sizeof key, "TRACK %i:INDEX 1", track);
        const int start = iniparser_getint(ini, key, kNoIndex);
        if (start == kNoIndex) break;
        std::snprintf(key, sizeof key, "TRACK %i:MODE", track);
        const int mode = iniparser_getint(ini, key, kDataTrackMode);
        table.append(mode == kDataTrackMode ? kTrackData : kTrackAudio, start);
        if (gapStarts) {
            std::snprintf(key, sizeof key, "TRACK %i:INDEX 0", track);
            gapStarts->push_back(iniparser_getint(ini, key, start));
        }
    }
    iniparser_freedict(ini);
    return 0;
}

int describeCloneCd(const char* path, DiscDescription& disc) {
    TrackTable rows;
    char dataPath[kPathCapacity];
    const bool haveDataPath = companionPathOf(path, ".img", dataPath);
    rows.appendLeadOut(haveDataPath ? ImageFile::sizeOf(dataPath) : -1, kRawSectorSize);
    TrackRowsFile file;
    file.path = dataPath;
    if (clonecdReadControl(path, rows, &file.gapStarts) != 0) {
        logWrite(kLogPlugin, "[CDR] Error: toc file not opened (%s).\n", path);
        return -1;
    }
    return describeRowsOrRefuse(path, rows, file, disc);
}

int CCdClonecdSub::open(const char* path) {
    char subPath[kPathCapacity];
    if (!companionPathOf(path, ".sub", subPath) || !file_.open(subPath)) {
        logWrite(kLogPlugin, "[CDR] Warning: sub file not opened (%s).\n", subPath);
        return -1;
    }
    return 0;
}

int CCdClonecdSub::read(Lba lba, uint8_t* block) {
    file_.readRecord(lba, kSubchannelSize, block);
    return file_.readFailed() ? -1 : 0;
}

}  // namespace lumadisc
