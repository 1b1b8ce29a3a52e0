#include "formats/chd_image.h"

#include <cstring>

#include "config/log.h"
#include "formats/chd_cd_codec.h"

namespace lumadisc {

namespace {

// The sectors of a track type stored as user data only get their header, subheader and EDC/ECC back.
void frameSector(ChdTrackType type, Lba lba, const uint8_t* stored, uint8_t* sector) {
    switch (type) {
    case ChdTrackType::kMode1:
        std::memset(sector, 0, kRawSectorSize);
        std::memcpy(sector + kMode1DataOffset, stored, kForm1UserSize);
        completeMode1Sector(sector, lba);
        return;
    case ChdTrackType::kMode2Form1:
    case ChdTrackType::kMode2Form2: {
        const bool form2 = type == ChdTrackType::kMode2Form2;
        std::memset(sector, 0, kRawSectorSize);
        writeSubheader(sector, 0, 0, form2 ? 0x20 : 0x08, 0);
        std::memcpy(sector + kMode2DataOffset, stored, form2 ? kForm2UserSize : kForm1UserSize);
        completeMode2Sector(sector, lba);
        return;
    }
    case ChdTrackType::kMode2:
    case ChdTrackType::kMode2FormMix:
        writeSectorHeader(sector, lba, 2);
        std::memcpy(sector + kSubheaderOffset, stored, kMode2UserSize);
        return;
    case ChdTrackType::kAudio:
        // Stored big-endian; CD audio is little-endian.
        for (int i = 0; i < kRawSectorSize; i += 2) {
            sector[i] = stored[i + 1];
            sector[i + 1] = stored[i];
        }
        return;
    case ChdTrackType::kMode1Raw:
    case ChdTrackType::kMode2Raw:
        std::memcpy(sector, stored, kRawSectorSize);
        return;
    }
}

// A pregap or postgap that is not stored: silence, or an empty data sector of the track's mode.
void gapSector(ChdTrackType type, Lba lba, uint8_t* sector) {
    std::memset(sector, 0, kRawSectorSize);
    if (chdTrackIsAudio(type)) return;
    if (type == ChdTrackType::kMode1 || type == ChdTrackType::kMode1Raw) {
        writeSectorHeader(sector, lba, 1);
        fillMode1EdcEcc(sector);
        return;
    }
    writeSectorHeader(sector, lba, 2);
    fillForm1EdcEcc(sector);
}

}  // namespace

bool ChdImage::open(const char* path, std::string* reason) {
    close();
    if (!file_.open(path, reason)) return false;
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
}

bool ChdImage::hasSubchannel() const {
    for (const ChdTrack& track : tracks_) {
        if (track.sub == ChdSubType::kRaw) return true;
    }
    return false;
}

const ChdTrack* ChdImage::trackAt(Lba lba) const {
    for (const ChdTrack& track : tracks_) {
        if (lba >= track.gapStart && lba < track.end) return &track;
    }
    return nullptr;
}

const uint8_t* ChdImage::frameAt(const ChdTrack& track, Lba lba, bool* failed) {
    *failed = false;
    if (lba < track.storedStart || lba >= track.storedStart + track.frames) return nullptr;
    const uint64_t frame = static_cast<uint64_t>(track.imageFrame + (lba - track.storedStart));
    const uint32_t framesPerHunk = file_.hunkBytes() / kChdFrameSize;
    const uint32_t hunk = static_cast<uint32_t>(frame / framesPerHunk);
    const uint8_t* bytes = cache_.find(hunk);
    if (!bytes) {
        uint8_t* slot = cache_.claim(hunk);
        std::string reason;
        if (!slot || !file_.readHunk(hunk, slot, &reason)) {
            logWrite(kLogPlugin, "[CDR] Error: chd sector %i unreadable: %s.\n", lba,
                     slot ? reason.c_str() : "no hunk memory");
            *failed = true;
            return nullptr;
        }
        cache_.keep(hunk);
        bytes = slot;
    }
    return bytes + (frame % framesPerHunk) * kChdFrameSize;
}

int ChdImage::readSector(Lba lba, uint8_t* sector) {
    const ChdTrack* track = trackAt(lba);
    if (!track) return 0;
    bool failed = false;
    const uint8_t* frame = frameAt(*track, lba, &failed);
    if (failed) return -1;
    if (frame) frameSector(track->type, lba, frame, sector);
    else gapSector(track->type, lba, sector);
    return 0;
}

bool ChdImage::readSubchannel(Lba lba, uint8_t* block) {
    const ChdTrack* track = trackAt(lba);
    if (!track || track->sub != ChdSubType::kRaw) return false;
    bool failed = false;
    const uint8_t* frame = frameAt(*track, lba, &failed);
    if (!frame) return false;
    uint8_t candidate[kSubchannelSize];
    deinterleaveSubchannel(frame + kRawSectorSize, candidate);
    if (!qCrcValid(candidate + kSubchannelQOffset)) return false;
    std::memcpy(block, candidate, kSubchannelSize);
    return true;
}

}  // namespace lumadisc
