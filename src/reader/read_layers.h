// The layers the reader front puts around the open disc's readers, once, at open, in a fixed order:
//   sectors:     the kind's reader -> PPF patch -> data cache
//   subchannel:  a ".sub" file beside the image, or the kind's reader -> SBI/LSD patch -> subchannel cache
// A layer is put in place when its setting asks for it at open and passes reads through while the
// setting is off (the settings can change while a disc is open); no kind knows about any layer.
#pragma once

#include <cstdint>

#include "disc/reader_interfaces.h"
#include "formats/ppf_patch.h"

namespace lumadisc {

// Writes the open disc's PPF patch over every sector read through it.
class CCdPatchedData final : public CCdVirtualData {
public:
    // Loads the patch file of the image at path; true when there is one (one of an unknown kind stays
    // loaded, so that every read through it reports so).
    bool load(const char* path) {
        patch_.load(path);
        return patch_.size() > 0;
    }
    void wrap(CCdVirtualData* inner) { inner_ = inner; }
    int open(const char* path) override { return inner_->open(path); }
    // Closes the reader below and frees the patch.
    void close() override;
    int read(Lba lba, uint8_t* sector) override;

private:
    CCdVirtualData* inner_ = nullptr;
    CCdPpfPatch patch_;
};

// Keeps every sector read (with its result) in the data cache, and answers from it.
class CCdCachedData final : public CCdVirtualData {
public:
    void wrap(CCdVirtualData* inner) { inner_ = inner; }
    int open(const char* path) override { return inner_->open(path); }
    // Closes the reader below and releases the cache.
    void close() override;
    int read(Lba lba, uint8_t* sector) override;

private:
    CCdVirtualData* inner_ = nullptr;
};

// The same for subchannel blocks; a block answered from the cache is told apart, so that a failed
// read is reported once, when it happens.
class CCdCachedSub final : public CCdVirtualSub {
public:
    void wrap(CCdVirtualSub* inner) { inner_ = inner; }
    int open(const char* path) override { return inner_->open(path); }
    void close() override;
    int read(Lba lba, uint8_t* block) override;
    bool lastWasCached() const { return lastWasCached_; }

private:
    CCdVirtualSub* inner_ = nullptr;
    bool lastWasCached_ = false;
};

}  // namespace lumadisc
