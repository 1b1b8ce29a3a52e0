#include "disc/extent_table.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "disc/auto_sub.h"

namespace lumadisc {

namespace {

constexpr uint8_t kLeadOutTrack = 0xAA;

}  // namespace

int32_t sectorFormBytes(SectorForm form) {
    switch (form) {
    case SectorForm::kMode1User:
    case SectorForm::kForm1User: return kForm1UserSize;
    case SectorForm::kForm2User: return kForm2UserSize;
    case SectorForm::kMode2User: return kMode2UserSize;
    case SectorForm::kRaw:
    case SectorForm::kAudio:
    case SectorForm::kAudioSwapped:
    case SectorForm::kDecodedAudio: return kRawSectorSize;
    default: return 0;
    }
}

bool sectorFormGenerated(SectorForm form) {
    return form == SectorForm::kSilence || form == SectorForm::kEmptyMode1 || form == SectorForm::kEmptyMode2;
}

void ExtentTable::clear() {
    files_.clear();
    extents_.clear();
}

int32_t ExtentTable::addFile(const std::string& path, bool decoded) {
    files_.push_back(File{path, decoded, nullptr});
    return static_cast<int32_t>(files_.size() - 1);
}

int32_t ExtentTable::addSource(std::shared_ptr<ExtentSource> source) {
    const std::string name = source->name();
    files_.push_back(File{name, false, std::move(source)});
    return static_cast<int32_t>(files_.size() - 1);
}

bool ExtentTable::storesSubchannel() const {
    return std::any_of(extents_.begin(), extents_.end(), [](const Extent& e) { return e.subForm != SubForm::kNone; });
}

void ExtentTable::append(const Extent& extent) {
    if (extent.count > 0) extents_.push_back(extent);
}

Lba ExtentTable::end() const {
    return extents_.empty() ? 0 : extents_.back().start + extents_.back().count;
}

const Extent* ExtentTable::find(Lba lba) const {
    const auto after = std::upper_bound(extents_.begin(), extents_.end(), lba,
                                        [](Lba value, const Extent& e) { return value < e.start; });
    if (after == extents_.begin()) return nullptr;
    const Extent& candidate = *(after - 1);
    return lba - candidate.start < candidate.count ? &candidate : nullptr;
}

std::string ExtentTable::check() const {
    constexpr Lba kDiscEnd = 100 * kFramesPerMinute - kLeadInFrames;  // the sector after 99:59:74
    int track = 0;
    bool indexOne = true;
    for (size_t i = 0; i < extents_.size(); ++i) {
        const Extent& e = extents_[i];
        if (i > 0 && e.start != extents_[i - 1].start + extents_[i - 1].count)
            return "sectors " + std::to_string(extents_[i - 1].start + extents_[i - 1].count) + " to " +
                   std::to_string(e.start) + " are in no track, or in two";
        if (e.track != track) {
            if (!indexOne) return "track " + std::to_string(track) + " has no sector of its own (INDEX 01)";
            if (e.track != track + 1) return "track " + std::to_string(e.track) + " follows track " + std::to_string(track);
            track = e.track;
            indexOne = false;
        }
        indexOne = indexOne || e.index >= 1;
    }
    if (!indexOne) return "track " + std::to_string(track) + " has no sector of its own (INDEX 01)";
    if (track > 99) return "more than 99 tracks";
    if (end() > kDiscEnd) return "the tracks reach beyond 99:59:74";
    return "";
}

void ExtentTable::buildTrackTable(TrackTable& table) const {
    table.clear();
    table.append(kTrackData, end());
    int lastTrack = 0;
    for (const Extent& e : extents_) {
        if (e.track == lastTrack) continue;
        lastTrack = e.track;
        table.append(e.type, e.trackStart);
    }
}

void ExtentTable::fillSubchannel(Lba lba, uint8_t* block) const {
    const int64_t absolute = static_cast<int64_t>(lba) + kLeadInFrames;
    const Extent* e = find(lba);
    if (e == nullptr && (extents_.empty() || lba < extents_.front().start)) {
        generateSubchannel(lba, block);
    } else if (e == nullptr) {  // the lead-out, counting from its first sector
        writeQBlock(block, extents_.back().control & kControlData, kLeadOutTrack, 0x01, static_cast<int64_t>(lba) - end(),
                    absolute);
    } else {
        // Relative time counts up from INDEX 01 and down through the gap ahead of it.
        const int64_t relative = lba >= e->trackStart ? static_cast<int64_t>(lba) - e->trackStart
                                                      : static_cast<int64_t>(e->trackStart) - lba;
        writeQBlock(block, e->control, bcdFromBinary(e->track), bcdFromBinary(e->index), relative, absolute);
    }
}

}  // namespace lumadisc
