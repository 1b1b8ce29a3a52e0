#include "formats/chd_tracks.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace lumadisc {

namespace {

constexpr int kMaxTracks = 99;
constexpr int32_t kMaxFrames = 500000;
constexpr int kImageTrackAlignment = 4;

struct TypeName {
    const char* name;
    ChdTrackType type;
};
constexpr TypeName kTypeNames[] = {
    {"MODE1", ChdTrackType::kMode1},           {"MODE1_RAW", ChdTrackType::kMode1Raw},
    {"MODE2", ChdTrackType::kMode2},           {"MODE2_FORM1", ChdTrackType::kMode2Form1},
    {"MODE2_FORM2", ChdTrackType::kMode2Form2}, {"MODE2_FORM_MIX", ChdTrackType::kMode2FormMix},
    {"MODE2_RAW", ChdTrackType::kMode2Raw},     {"AUDIO", ChdTrackType::kAudio},
};

bool number(const std::string& text, int32_t low, int32_t high, int32_t* out) {
    if (text.empty() || text.size() > 9) return false;
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (*end != '\0' || value < low || value > high) return false;
    *out = static_cast<int32_t>(value);
    return true;
}

bool subType(const std::string& text, ChdSubType* out) {
    if (text == "NONE") *out = ChdSubType::kNone;
    else if (text == "RW") *out = ChdSubType::kCooked;
    else if (text == "RW_RAW") *out = ChdSubType::kRaw;
    else return false;
    return true;
}

}  // namespace

bool chdTrackIsAudio(ChdTrackType type) { return type == ChdTrackType::kAudio; }

bool chdParseTrackText(const std::string& text, ChdTrack* track, std::string* reason) {
    std::istringstream fields(text);
    std::string field;
    bool haveTrack = false, haveType = false, haveFrames = false;
    std::string pregapType;
    while (fields >> field) {
        const size_t colon = field.find(':');
        if (colon == std::string::npos) continue;
        const std::string key = field.substr(0, colon), value = field.substr(colon + 1);
        bool ok = true;
        if (key == "TRACK") {
            ok = haveTrack = number(value, 1, kMaxTracks, &track->number);
        } else if (key == "TYPE") {
            haveType = false;
            for (const TypeName& name : kTypeNames) {
                if (value == name.name) {
                    track->type = name.type;
                    haveType = true;
                }
            }
            ok = haveType;
        } else if (key == "SUBTYPE") {
            ok = subType(value, &track->sub);
        } else if (key == "FRAMES") {
            ok = haveFrames = number(value, 1, kMaxFrames, &track->frames);
        } else if (key == "PREGAP") {
            ok = number(value, 0, kMaxFrames, &track->pregap);
        } else if (key == "PGTYPE") {
            pregapType = value;
        } else if (key == "POSTGAP") {
            ok = number(value, 0, kMaxFrames, &track->postgap);
        }  // PGSUB, PAD and anything newer: not needed to place the sectors
        if (!ok) {
            *reason = "track metadata field " + key + " has a bad value '" + value + "'";
            return false;
        }
    }
    if (!haveTrack || !haveType || !haveFrames) {
        *reason = "track metadata lacks TRACK, TYPE or FRAMES";
        return false;
    }
    track->pregapStored = !pregapType.empty() && pregapType[0] == 'V' && track->pregap > 0;
    if (track->pregapStored && track->pregap > track->frames) {
        *reason = "track " + std::to_string(track->number) + " stores a pregap longer than itself";
        return false;
    }
    return true;
}

bool chdLayoutTracks(const std::vector<ChdMetadata>& metadata, uint64_t imageFrames, std::vector<ChdTrack>* tracks,
                     std::string* reason) {
    tracks->clear();
    for (const ChdMetadata& entry : metadata) {
        const std::string tag = ChdFile::tagText(entry.tag);
        if (tag != "CHT2" && tag != "CHTR" && tag != "CHGD") continue;
        ChdTrack track;
        const std::string text(entry.data.begin(), std::find(entry.data.begin(), entry.data.end(), uint8_t{0}));
        if (!chdParseTrackText(text, &track, reason)) return false;
        if (track.number != static_cast<int>(tracks->size()) + 1) {
            *reason = "track metadata out of order (track " + std::to_string(track.number) + " after " +
                      std::to_string(tracks->size()) + ")";
            return false;
        }
        tracks->push_back(track);
    }
    if (tracks->empty()) {
        *reason = "no CD track metadata";
        return false;
    }
    int64_t imageFrame = 0;
    int64_t disc = 0;
    for (ChdTrack& track : *tracks) {
        const int32_t unstoredPregap = track.pregapStored ? 0 : track.pregap;
        if (track.number == 1) disc = -unstoredPregap;  // track 1's pregap is the lead-in before sector 0
        track.gapStart = static_cast<Lba>(disc);
        track.storedStart = static_cast<Lba>(disc + unstoredPregap);
        track.start = static_cast<Lba>(track.gapStart + track.pregap);
        track.end = static_cast<Lba>(track.storedStart + track.frames + track.postgap);
        track.imageFrame = imageFrame;
        imageFrame += (track.frames + kImageTrackAlignment - 1) / kImageTrackAlignment * kImageTrackAlignment;
        disc = track.end;
        if (static_cast<uint64_t>(track.imageFrame + track.frames) > imageFrames) {
            *reason = "track " + std::to_string(track.number) + " lies beyond the image's frames";
            return false;
        }
    }
    return true;
}

}  // namespace lumadisc
