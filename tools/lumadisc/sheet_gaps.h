// The gaps a converted sheet gives back: from the disc's own description (the list of kinds and the
// kind's parser, the same the plugin reads), which sectors of each track's gap the image stores
// (INDEX 00, written to the new image) and which it does not (PREGAP, generated, not written).
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "disc/disc_model.h"

namespace lumadisc::tool {

class SheetGaps {
public:
    // Reads the description of the disc at path; a kind without one (a drive, the empty disc) or a
    // description that fails gives no gaps, every sector then counts as stored.
    explicit SheetGaps(const std::string& path);
    // Whether the sector is part of a gap the image does not store.
    bool generated(Lba lba) const;
    // The sector's place in the new image, which holds the stored sectors only.
    Lba filePosition(Lba lba) const;
    // Sectors of the track's gap that are not stored, and the first stored gap sector (-1 none).
    int32_t pregap(int track) const;
    Lba index00(int track) const;

private:
    std::vector<std::pair<Lba, Lba>> generated_;  // [from, to) ranges, in disc order
    std::map<int, int32_t> pregaps_;
    std::map<int, Lba> index00_;
};

}  // namespace lumadisc::tool
