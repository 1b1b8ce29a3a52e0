// The disc as an ordered list of extents: which sectors come from which file, at which byte offset,
// in which sector form, and which track and index they belong to. Image kinds that describe a disc
// this way fill the table; reading, framing and the generated subchannel work from it alone.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "disc/disc_model.h"
#include "disc/extent_source.h"
#include "disc/track_table.h"

namespace lumadisc {

// How the bytes of one sector lie in its source.
enum class SectorForm : uint8_t {
    kRaw,           // 2352 bytes as on the disc
    kMode1User,     // 2048 user bytes, framed as a Mode 1 sector
    kMode2User,     // 2336 bytes from the subheader on, framed as a Mode 2 sector
    kForm1User,     // 2048 user bytes, framed as a Mode 2 Form 1 sector with a zero subheader
    kForm2User,     // 2324 user bytes, framed as a Mode 2 Form 2 sector
    kAudio,         // 2352 bytes of little-endian samples
    kAudioSwapped,  // 2352 bytes of big-endian samples
    kDecodedAudio,  // samples decoded from a sound file (offset and stride count decoded bytes)
    kSilence,       // generated: zero samples
    kEmptyMode1,    // generated: a Mode 1 sector of zeros with header and EDC/ECC
    kEmptyMode2,    // generated: a Mode 2 Form 1 sector of zeros with header and EDC/ECC
};

// Bytes a sector of this form takes in its file (0 for generated forms).
int32_t sectorFormBytes(SectorForm form);
bool sectorFormGenerated(SectorForm form);

// How the 96 subchannel bytes a kind stores for a sector lie: as a drive delivers them (P to W
// interleaved, one bit of each channel per byte) or channel after channel.
enum class SubForm : uint8_t { kNone, kInterleaved, kPacked };

// Q control bits (high nibble of Q byte 0).
constexpr uint8_t kControlPreEmphasis = 0x1;
constexpr uint8_t kControlCopyPermitted = 0x2;
constexpr uint8_t kControlData = 0x4;
constexpr uint8_t kControlFourChannel = 0x8;

struct Extent {
    Lba start = 0;         // first sector on the disc
    int32_t count = 0;     // sectors
    int32_t file = -1;     // index into the table's files; -1 for generated forms
    int64_t offset = 0;    // byte offset of the first sector in the file
    int32_t stride = 0;    // bytes from one sector to the next in the file
    SectorForm form = SectorForm::kRaw;
    uint8_t track = 1;     // binary track number
    uint8_t index = 1;     // binary index number
    int32_t type = kTrackData;
    uint8_t control = kControlData;
    Lba trackStart = 0;    // INDEX 01 of the track: relative time counts from (and down to) it
    // The subchannel the image stores for these sectors, in the same file at `subOffset` bytes after
    // each sector's own offset (the sector's stride apart); kNone when it stores none.
    SubForm subForm = SubForm::kNone;
    int32_t subOffset = 0;
};

class ExtentTable {
public:
    void clear();
    // Registers a source file (decoded: a sound file read through the audio decoder) that the extent
    // reader opens; returns its index.
    int32_t addFile(const std::string& path, bool decoded);
    // Registers a source the kind has opened already (a compressed image); returns its index.
    int32_t addSource(std::shared_ptr<ExtentSource> source);
    // Appends an extent; empty ones are dropped. Extents are appended in disc order.
    void append(const Extent& extent);

    const std::vector<Extent>& extents() const { return extents_; }
    int32_t fileCount() const { return static_cast<int32_t>(files_.size()); }
    const std::string& filePath(int32_t file) const { return files_[static_cast<size_t>(file)].path; }
    bool fileDecoded(int32_t file) const { return files_[static_cast<size_t>(file)].decoded; }
    // The source registered open, or null for a file the extent reader opens itself.
    const std::shared_ptr<ExtentSource>& fileSource(int32_t file) const { return files_[static_cast<size_t>(file)].source; }
    // Whether any extent carries subchannel data of the image's own.
    bool storesSubchannel() const;
    bool empty() const { return extents_.empty(); }
    // The first sector after the last extent (the lead-out).
    Lba end() const;
    // The extent holding lba, or null outside the disc.
    const Extent* find(Lba lba) const;

    // "" when the extents describe a disc, else why not: the extents follow each other without a hole
    // or an overlap, tracks are numbered 1, 2, ... (at most 99) and each has sectors of INDEX 01, and
    // the disc ends by 99:59:74. Every kind's description is held to this one check.
    std::string check() const;

    // Row 0 the lead-out, then one row per track at its INDEX 01 with its type.
    void buildTrackTable(TrackTable& table) const;
    // The Q subchannel of lba from the table: track, index, control, relative time counting up from
    // INDEX 01 and down through the gap ahead of it, absolute time. Outside the disc the lead-out
    // (track AA) is described after the end, the generated track 1 block before the start.
    void fillSubchannel(Lba lba, uint8_t* block) const;

private:
    struct File {
        std::string path;
        bool decoded = false;
        std::shared_ptr<ExtentSource> source;
    };
    std::vector<File> files_;
    std::vector<Extent> extents_;
};

}  // namespace lumadisc
