#include "formats/extent_disc.h"

#include "config/log.h"
#include "formats/image_file.h"
#include "support/regular_file.h"

namespace lumadisc {

CCdExtentToc g_extentToc;
CCdExtentData g_extentData(g_extentToc.extents());
CCdExtentSub g_extentSub(g_extentToc.extents(), g_extentData);

int describeRowsOrRefuse(const char* path, const TrackTable& rows, TrackRowsFile file, DiscDescription& disc) {
    std::string why;
    file.bytes = ImageFile::sizeOf(file.path.c_str());
    if (file.bytes < 0 || !isReadableRegularFile(file.path.c_str(), &why)) {
        if (file.bytes >= 0) logWrite(kLogPlugin, "[CDR] Error: %s is %s.\n", file.path.c_str(), why.c_str());
        logWrite(kLogPlugin, "[CDR] Error: data file not opened (%s).\n", file.path.c_str());
        return -1;
    }
    int64_t missing = 0;
    const std::string reason = describeTrackRows(rows, file, disc.extents, &missing);
    if (!reason.empty()) {
        logWrite(kLogPlugin, "[CDR] Error: toc file not read (%s): %s.\n", path, reason.c_str());
        return -1;
    }
    if (missing > 0) {
        logWrite(kLogPlugin, "[CDR] Warning: data file %s is %lld sectors shorter than the description says.\n",
                 file.path.c_str(), static_cast<long long>(missing));
    }
    return 0;
}

int CCdExtentToc::open(const char* path) {
    close();
    if (describe_ == nullptr || describe_(path, disc_) != 0) {
        close();
        return -1;
    }
    if (const std::string reason = disc_.extents.check(); !reason.empty()) {
        logWrite(kLogPlugin, "[CDR] Error: disc not usable (%s): %s.\n", path, reason.c_str());
        close();
        return -1;
    }
    disc_.extents.buildTrackTable(table_);
    return 0;
}

void CCdExtentToc::close() {
    disc_.extents.clear();
    disc_.alwaysData = false;
    table_.clear();
}

}  // namespace lumadisc
