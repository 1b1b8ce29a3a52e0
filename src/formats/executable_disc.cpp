#include "formats/executable_disc.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "config/log.h"
#include "formats/disc_template.h"
#include "formats/image_file.h"

namespace lumadisc {

namespace {

static_assert(disc_template::kSectorSize == kRawSectorSize);

// The built-in template's sectors as a source of extent bytes.
class TemplateSource final : public ExtentSource {
public:
    size_t readAt(int64_t offset, size_t size, uint8_t* out) override {
        constexpr int64_t kBytes = static_cast<int64_t>(disc_template::kSectors) * kRawSectorSize;
        if (offset < 0 || offset >= kBytes) return 0;
        const size_t got = static_cast<size_t>(std::min<int64_t>(static_cast<int64_t>(size), kBytes - offset));
        std::memcpy(out, disc_template::kBytes + offset, got);
        return got;
    }
    bool readFailed() const override { return false; }
    const char* name() const override { return "the built-in disc template"; }
};

}  // namespace

int describeExecutableDisc(const char* path, DiscDescription& disc) {
    const int64_t size = ImageFile::sizeOf(path);
    if (size < 0) {
        logWrite(kLogPlugin, "[CDR] Error: data file not opened (%s).\n", path);
        return -1;
    }
    ExtentTable& extents = disc.extents;
    Extent e;
    e.file = extents.addSource(std::make_shared<TemplateSource>());
    e.start = 0;
    e.count = disc_template::kSectors;
    e.stride = kRawSectorSize;
    e.form = SectorForm::kRaw;
    extents.append(e);
    // The executable's sectors, then empty Form 1 sectors to the end of the volume.
    const int64_t volume = disc_template::kVolumeSectors - disc_template::kExecutableExtent;
    const int64_t fileSectors = std::min<int64_t>(volume, (size + kForm1UserSize - 1) / kForm1UserSize);
    e.file = extents.addFile(path, false);
    e.start = disc_template::kExecutableExtent;
    e.count = static_cast<int32_t>(fileSectors);
    e.offset = 0;
    e.stride = kForm1UserSize;
    e.form = SectorForm::kForm1User;
    extents.append(e);
    e.file = -1;
    e.start += e.count;
    e.count = static_cast<int32_t>(volume - fileSectors);
    e.form = SectorForm::kEmptyMode2;
    extents.append(e);
    disc.alwaysData = true;
    return 0;
}

}  // namespace lumadisc
