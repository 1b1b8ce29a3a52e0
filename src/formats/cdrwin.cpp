#include "formats/cdrwin.h"

#include <cstdio>
#include <string>
#include <vector>

#include "config/log.h"
#include "config/settings.h"
#include "formats/audio_file.h"
#include "formats/companion_file.h"
#include "formats/cue_layout.h"
#include "formats/cue_sheet.h"
#include "formats/description_text.h"
#include "formats/file_lookup.h"
#include "formats/image_file.h"
#include "support/paths.h"

namespace lumadisc {

namespace {

void sheetRefused(const char* sheetPath, const std::string& reason) {
    logWrite(kLogPlugin, "[CDR] Error: cue sheet not read (%s): %s.\n", sheetPath, reason.c_str());
}

// Finds every FILE entry: as named, with other letter case, and for a data file the sheet's own name
// with ".bin" as the last resort. Logs and returns false for the first one that is not there.
bool findSources(const char* sheetPath, const CueSheet& sheet, std::vector<CueSource>& sources) {
    sources.clear();
    for (const CueFile& file : sheet.files) {
        std::string path = findNamedFile(sheetPath, file.name);
        if (path.empty() && file.type != CueFileType::kSound) {
            char fallback[kPathCapacity];
            if (companionPathOf(sheetPath, ".bin", fallback) && ImageFile::sizeOf(fallback) >= 0) path = fallback;
        }
        if (path.empty()) {
            const std::string named = namedFilePath(sheetPath, file.name);
            logWrite(kLogPlugin, "[CDR] Error: data file not opened (%s).\n", named.c_str());
            return false;
        }
        CueSource source{path, 0};
        if (file.type == CueFileType::kSound) {
            std::string reason;
            source.bytes = AudioFile::decodedSizeOf(path, &reason);
            if (source.bytes < 0) {
                logWrite(kLogPlugin, "[CDR] Error: audio file not opened (%s): %s.\n", path.c_str(), reason.c_str());
                return false;
            }
        } else {
            source.bytes = ImageFile::sizeOf(path.c_str());
        }
        sources.push_back(std::move(source));
    }
    return true;
}

}  // namespace

int describeCueSheet(const char* path, DiscDescription& disc) {
    ExtentTable& extents = disc.extents;
    const char* sheetPath = path;
    std::string text;
    if (!readDescriptionText(sheetPath, kMaxSheetBytes, text,
                             [sheetPath](const std::string& reason) { sheetRefused(sheetPath, reason); })) {
        return -1;
    }
    CueSheet sheet;
    const std::string parseReason = parseCueSheet(text, sheet);
    std::vector<CueSource> sources;
    if (!findSources(sheetPath, sheet, sources)) return -1;
    if (!parseReason.empty()) {
        sheetRefused(sheetPath, parseReason);
        return -1;
    }
    std::vector<int64_t> missing;
    const std::string layoutReason = cueLayout(sheet, sources, extents, &missing);
    if (!layoutReason.empty()) {
        extents.clear();
        sheetRefused(sheetPath, layoutReason);
        return -1;
    }
    for (size_t i = 0; i < missing.size(); ++i) {
        if (missing[i] > 0) {
            logWrite(kLogPlugin, "[CDR] Warning: data file %s is %lld sectors shorter than the sheet says.\n",
                     sources[i].path.c_str(), static_cast<long long>(missing[i]));
        }
    }
    return 0;
}

}  // namespace lumadisc
