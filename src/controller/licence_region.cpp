#include "controller/licence_region.h"

#include <string_view>

#include "controller/host_binding.h"

namespace lumadisc {

namespace {

constexpr const char* kDefaultRegion = "SCEA";

struct RegionWord {
    std::string_view word;
    const char* id;
};

// Checked in this order; the first word found decides.
constexpr RegionWord kRegionWords[] = {
    {"America", "SCEA"}, {"Europe", "SCEE"}, {"Japan", "SCEI"}, {"Inc.", "SCEI"}};

}  // namespace

const char* regionIdFromLicence(const uint8_t* bytes, size_t size) {
    if (bytes == nullptr) return kDefaultRegion;
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    for (const RegionWord& entry : kRegionWords) {
        if (text.find(entry.word) != std::string_view::npos) return entry.id;
    }
    return kDefaultRegion;
}

const char* discRegionId() {
    psxcdrsystem.setLoc(kLicenceSector);
    if (psxcdrsystem.readData() < 0) return kDefaultRegion;
    const uint8_t* sector = psxcdrsystem.getDataBuffer();
    // Everything behind the sync pattern: the text sits in the user data whatever the sector's mode.
    return regionIdFromLicence(sector + kSectorHeaderOffset, kRawSectorSize - kSectorHeaderOffset);
}

}  // namespace lumadisc
