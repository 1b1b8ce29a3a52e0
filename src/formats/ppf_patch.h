// The patch set of the open disc: byte runs from a ".ppf" file beside the image, written over every
// sector read before it enters the data cache. The file is indexed once, by walking its records, and
// each run's bytes are read from it when its sector is; it is never read whole. Versions 1, 2 and 3 of the format are understood.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "disc/disc_model.h"
#include "formats/image_file.h"

namespace lumadisc {

class CCdPpfPatch {
public:
    // Loads the patch file of imagePath (its extension replaced by ".ppf"); 0, or -1 when there is
    // none, it cannot be read, or its signature is unknown (that file stays loaded).
    int load(const char* imagePath);
    // Overwrites the bytes of this sector that the loaded records cover, in file order.
    void apply(Lba lba, uint8_t* sector);
    // Frees the file and empties the set; 0.
    int release();

    uint32_t size() const { return size_; }
    int32_t version() const { return version_; }
    int32_t blockCheck() const { return blockCheck_; }
    int32_t descriptionLength() const { return descriptionLength_; }

private:
    // One record's share of one sector: `length` bytes of the file at `source` go to the sector
    // from byte `start` on.
    struct Run {
        Lba lba;
        uint32_t source;
        uint16_t start;
        uint16_t length;
    };

    void empty();
    void readDescriptionLength();
    void buildIndex();

    uint32_t size_ = 0;
    ImageFile file_;  // the patch, open while it is loaded; read where its records are
    int32_t version_ = 0;
    int32_t blockCheck_ = 0;
    int32_t descriptionLength_ = 0;
    // Every run of the file, ordered by sector and, within a sector, by file position.
    std::vector<Run> runs_;
};

}  // namespace lumadisc
