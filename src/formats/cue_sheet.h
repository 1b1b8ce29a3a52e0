// The CUE sheet language as players' tools write it: FILE entries with their tracks, track modes,
// INDEX, PREGAP, POSTGAP and FLAGS lines; keywords in any letter case, quoted or unquoted names,
// CRLF, tabs and a UTF-8 byte-order mark. Lines that carry only metadata are read past.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lumadisc {

enum class CueFileType { kBinary, kMotorola, kSound };

enum class CueTrackMode { kAudio, kMode1Raw, kMode1User, kMode2Raw, kMode2User, kCdg, kCdiRaw, kCdiUser };

struct CueFile {
    std::string name;
    CueFileType type = CueFileType::kBinary;
};

struct CueIndex {
    int number = 1;
    int file = 0;           // the FILE entry the INDEX line stands under
    int32_t position = 0;   // sectors from the start of that file
};

struct CueTrack {
    int number = 0;
    CueTrackMode mode = CueTrackMode::kMode2Raw;
    uint8_t flags = 0;      // Q control bits from FLAGS
    int32_t pregap = 0;     // sectors not in any file, ahead of the track's first index
    int32_t postgap = 0;    // sectors not in any file, after the track's last
    std::vector<CueIndex> indexes;  // in sheet order, numbers rising
};

struct CueSheet {
    std::vector<CueFile> files;
    std::vector<CueTrack> tracks;
};

// Bytes one sector of a mode takes in a BINARY file.
int32_t cueModeStride(CueTrackMode mode);
bool cueModeIsAudio(CueTrackMode mode);

// Parses sheet text; returns an empty string, or the reason the text is not a usable sheet
// ("line 4: INDEX outside a TRACK", "no track", ...).
std::string parseCueSheet(const std::string& text, CueSheet& sheet);

}  // namespace lumadisc
