#include "formats/chd_image.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "config/log.h"
#include "formats/chd_cd_codec.h"
#include "formats/extent_disc.h"

namespace lumadisc {

namespace {

// How a track type's stored frames become sectors, and what its unstored gaps are.
SectorForm storedForm(ChdTrackType type) {
    switch (type) {
    case ChdTrackType::kMode1: return SectorForm::kMode1User;
    case ChdTrackType::kMode2Form1: return SectorForm::kForm1User;
    case ChdTrackType::kMode2Form2: return SectorForm::kForm2User;
    case ChdTrackType::kMode2:
    case ChdTrackType::kMode2FormMix: return SectorForm::kMode2User;
    case ChdTrackType::kAudio: return SectorForm::kAudioSwapped;  // stored big-endian
    case ChdTrackType::kMode1Raw:
    case ChdTrackType::kMode2Raw: break;
    }
    return SectorForm::kRaw;
}

SectorForm gapForm(ChdTrackType type) {
    if (chdTrackIsAudio(type)) return SectorForm::kSilence;
    if (type == ChdTrackType::kMode1 || type == ChdTrackType::kMode1Raw) return SectorForm::kEmptyMode1;
    return SectorForm::kEmptyMode2;
}

}  // namespace

bool ChdImage::open(const char* path, std::string* reason) {
    close();
    if (!file_.open(path, reason)) return false;
    path_ = path;
    if (!chdLayoutTracks(file_.metadata(), file_.logicalBytes() / kChdFrameSize, &tracks_, reason)) {
        close();
        return false;
    }
    cache_.reset(file_.hunkBytes());
    return true;
}

void ChdImage::close() {
    file_.close();
    tracks_.clear();
    cache_.release();
    path_.clear();
}

Lba ChdImage::sectorOfFrame(uint64_t frame) const {
    for (const ChdTrack& track : tracks_) {
        if (frame >= static_cast<uint64_t>(track.imageFrame) &&
            frame < static_cast<uint64_t>(track.imageFrame) + static_cast<uint64_t>(track.frames)) {
            return track.storedStart + static_cast<Lba>(frame - static_cast<uint64_t>(track.imageFrame));
        }
    }
    return -1;
}

const uint8_t* ChdImage::frame(uint64_t frame) {
    const uint32_t framesPerHunk = file_.hunkBytes() / kChdFrameSize;
    if (framesPerHunk == 0) return nullptr;
    const uint32_t hunk = static_cast<uint32_t>(frame / framesPerHunk);
    const uint8_t* bytes = cache_.find(hunk);
    if (!bytes) {
        uint8_t* slot = cache_.claim(hunk);
        std::string reason;
        if (!slot || !file_.readHunk(hunk, slot, &reason)) {
            logWrite(kLogPlugin, "[CDR] Error: chd sector %i unreadable: %s.\n", sectorOfFrame(frame),
                     slot ? reason.c_str() : "no hunk memory");
            return nullptr;
        }
        cache_.keep(hunk);
        bytes = slot;
    }
    return bytes + (frame % framesPerHunk) * kChdFrameSize;
}

size_t ChdImage::readAt(int64_t offset, size_t size, uint8_t* out) {
    failed_ = false;
    if (offset < 0 || !file_.isOpen()) return 0;
    const uint64_t total = file_.logicalBytes() / kChdFrameSize * kChdFrameSize;
    size_t done = 0;
    while (done < size) {
        const uint64_t at = static_cast<uint64_t>(offset) + done;
        if (at >= total) break;
        const uint8_t* bytes = frame(at / kChdFrameSize);
        if (!bytes) {
            failed_ = true;
            break;
        }
        const size_t within = static_cast<size_t>(at % kChdFrameSize);
        const size_t piece = std::min(size - done, static_cast<size_t>(kChdFrameSize) - within);
        std::memcpy(out + done, bytes + within, piece);
        done += piece;
    }
    return done;
}

int describeChd(const char* path, DiscDescription& disc) {
    auto image = std::make_shared<ChdImage>();
    std::string reason;
    if (!image->open(path, &reason)) {
        logWrite(kLogPlugin, "[CDR] Error: chd image not opened (%s): %s.\n", path, reason.c_str());
        return -1;
    }
    ExtentTable& extents = disc.extents;
    const int32_t file = extents.addSource(image);
    for (const ChdTrack& track : image->tracks()) {
        const bool audio = chdTrackIsAudio(track.type);
        Extent e;
        e.track = static_cast<uint8_t>(track.number);
        e.type = audio ? kTrackAudio : kTrackData;
        e.control = audio ? 0 : kControlData;
        e.trackStart = track.start;
        const auto generated = [&](Lba from, Lba to, uint8_t index) {
            Extent gap = e;
            gap.start = from;
            gap.count = to - from;
            gap.index = index;
            gap.form = gapForm(track.type);
            extents.append(gap);
        };
        const Lba storedEnd = track.storedStart + track.frames;
        generated(track.gapStart, track.storedStart, 0);  // an unstored pregap
        Extent stored = e;
        stored.file = file;
        stored.offset = track.imageFrame * kChdFrameSize;
        stored.stride = kChdFrameSize;
        stored.form = storedForm(track.type);
        stored.subForm = track.sub == ChdSubType::kRaw ? SubForm::kInterleaved : SubForm::kNone;
        stored.subOffset = kRawSectorSize;
        if (track.start > track.storedStart) {  // a stored pregap opens the frames
            Extent gap = stored;
            gap.start = track.storedStart;
            gap.count = track.start - track.storedStart;
            gap.index = 0;
            extents.append(gap);
            stored.offset += static_cast<int64_t>(gap.count) * kChdFrameSize;
        }
        stored.start = std::max(track.start, track.storedStart);
        stored.count = storedEnd - stored.start;
        extents.append(stored);
        generated(storedEnd, track.end, 1);  // the postgap
    }
    return 0;
}

}  // namespace lumadisc
