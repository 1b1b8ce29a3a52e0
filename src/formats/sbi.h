// Q subchannel patches kept beside an image (<image>.sbi or <image>.lsd, as players keep the
// subchannel data of copy-protected discs): a decorator over whichever subchannel source is in use
// that replaces the Q part of the sectors the file lists and leaves every other block alone.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "disc/reader_interfaces.h"

namespace lumadisc {

// The largest patch file read; a real one lists a few dozen sectors.
constexpr int64_t kMaxSubPatchBytes = 1 << 20;

struct QPatch {
    enum Kind : uint8_t { kWhole, kWholeWithCrc, kRelative, kAbsolute } kind = kWhole;
    std::array<uint8_t, 12> bytes{};
};

// Parses the bytes of an .sbi or .lsd file into patches by Lba; returns an empty string or the reason.
std::string parseSbi(const uint8_t* data, size_t size, std::map<Lba, QPatch>& patches);
std::string parseLsd(const uint8_t* data, size_t size, std::map<Lba, QPatch>& patches);
// Applies one patch to a 96-byte subchannel block.
void applyQPatch(const QPatch& patch, uint8_t* block);

class CCdSubPatch final : public CCdVirtualSub {
public:
    // Reads <imagePath>.sbi, else <imagePath>.lsd (the image's extension replaced). True when a
    // file was read; a file that is there but malformed is reported in the log and not used.
    bool load(const char* imagePath);
    // The source whose blocks are patched; set after a successful load.
    void wrap(CCdVirtualSub* inner) { inner_ = inner; }
    int open(const char* path) override { return inner_ ? inner_->open(path) : 0; }
    void close() override;
    int read(Lba lba, uint8_t* block) override;
    size_t patchCount() const { return patches_.size(); }

private:
    CCdVirtualSub* inner_ = nullptr;
    std::map<Lba, QPatch> patches_;
};

extern CCdSubPatch g_subPatch;

}  // namespace lumadisc
