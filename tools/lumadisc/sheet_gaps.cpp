#include "tools/lumadisc/sheet_gaps.h"

#include <algorithm>

#include "reader/disc_kinds.h"

namespace lumadisc::tool {

SheetGaps::SheetGaps(const std::string& path) {
    const DiscKind* kind = discKindOf(path.c_str());
    if (kind == nullptr || kind->describe == nullptr || kind->type == kDiscDrive) return;
    DiscDescription disc;
    if (kind->describe(path.c_str(), disc) != 0) return;
    for (const Extent& e : disc.extents.extents()) {
        if (e.index != 0) continue;
        if (sectorFormGenerated(e.form)) {
            generated_.emplace_back(e.start, e.start + e.count);
            pregaps_[e.track] += e.count;
        } else if (!index00_.count(e.track)) {
            index00_[e.track] = e.start;
        }
    }
}

bool SheetGaps::generated(Lba lba) const {
    for (const auto& [from, to] : generated_) {
        if (lba >= from && lba < to) return true;
    }
    return false;
}

Lba SheetGaps::filePosition(Lba lba) const {
    // The new image starts at Lba 0 and leaves out the generated gap sectors before lba.
    Lba skipped = 0;
    for (const auto& [from, to] : generated_) {
        const Lba first = std::max<Lba>(from, 0), end = std::min(to, lba);
        if (end > first) skipped += end - first;
    }
    return lba - skipped;
}

int32_t SheetGaps::pregap(int track) const {
    const auto found = pregaps_.find(track);
    return found == pregaps_.end() ? 0 : found->second;
}

Lba SheetGaps::index00(int track) const {
    const auto found = index00_.find(track);
    return found == index00_.end() ? -1 : found->second;
}

}  // namespace lumadisc::tool
