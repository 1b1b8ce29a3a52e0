// The track list of a compressed CD image, from its track metadata ("CHT2", "CHTR", "CHGD"), laid
// out on the disc: where each track's frames sit in the image and which disc sectors they are.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "disc/disc_model.h"
#include "formats/chd_file.h"

namespace lumadisc {

enum class ChdTrackType {
    kMode1,         // 2048 user bytes stored
    kMode1Raw,      // 2352
    kMode2,         // 2336 (subheader on)
    kMode2Form1,    // 2048
    kMode2Form2,    // 2324
    kMode2FormMix,  // 2336
    kMode2Raw,      // 2352
    kAudio,         // 2352, samples stored big-endian
};

enum class ChdSubType { kNone, kCooked, kRaw };

struct ChdTrack {
    int number = 0;
    ChdTrackType type = ChdTrackType::kMode1Raw;
    ChdSubType sub = ChdSubType::kNone;
    int32_t frames = 0;         // stored frames, a stored pregap included
    int32_t pregap = 0;
    bool pregapStored = false;  // the pregap's frames open the stored ones
    int32_t postgap = 0;        // never stored
    // Where it lies.
    int64_t imageFrame = 0;     // the first stored frame in the image
    Lba storedStart = 0;        // the disc sector of that frame
    Lba gapStart = 0;           // the first sector of its pregap (== start without one)
    Lba start = 0;              // index 01
    Lba end = 0;                // the first sector after its postgap
};

// Parses one text entry ("TRACK:1 TYPE:MODE2_RAW SUBTYPE:NONE FRAMES:300 ..."); false with a
// reason when a field is missing or out of range.
bool chdParseTrackText(const std::string& text, ChdTrack* track, std::string* reason);

// The tracks of the image's metadata, numbered 1..n in order and laid out: tracks follow each other
// on the disc, pregaps and postgaps that are not stored take disc sectors of their own (track 1's
// pregap lies ahead of sector 0), and each track's frames start on a multiple of four frames in
// the image. False with a reason when there are no tracks or they do not fit the image.
bool chdLayoutTracks(const std::vector<ChdMetadata>& metadata, uint64_t imageFrames, std::vector<ChdTrack>* tracks,
                     std::string* reason);

bool chdTrackIsAudio(ChdTrackType type);

}  // namespace lumadisc
