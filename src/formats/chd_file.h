// A compressed image file of hunks ("MComprHD", version 5): the header, the hunk map (compressed
// or plain), the metadata list, and each hunk read back with its CRC checked.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "formats/image_file.h"

namespace lumadisc {

struct ChdMetadata {
    uint32_t tag = 0;
    std::vector<uint8_t> data;
};

class ChdFile {
public:
    // Opens and checks the file; false with a reason ("not a compressed hunk image", "hunk map CRC
    // mismatch", ...). Nothing stays open after a failure.
    bool open(const char* path, std::string* reason);
    void close();
    bool isOpen() const { return file_.isOpen(); }

    uint32_t hunkBytes() const { return hunkBytes_; }
    uint32_t hunkCount() const { return static_cast<uint32_t>(map_.size()); }
    uint32_t unitBytes() const { return unitBytes_; }
    uint64_t logicalBytes() const { return logicalBytes_; }
    const std::vector<ChdMetadata>& metadata() const { return metadata_; }

    // Decodes hunk `hunk` into out (hunkBytes bytes); false with a reason when the hunk cannot be
    // read, does not decode or fails its CRC.
    bool readHunk(uint32_t hunk, uint8_t* out, std::string* reason) const;

    // Four-character tags and codec names as text.
    static std::string tagText(uint32_t tag);

private:
    enum : uint8_t {
        kCompressed0 = 0,  // .. 3: with the codec of that header slot
        kUncompressed = 4,
        kSelf = 5,
        kParent = 6,
        kNone = 7,  // a plain map's empty entry: zeros
    };
    struct Entry {
        uint8_t type = kNone;
        bool checked = true;  // carries a CRC
        uint32_t length = 0;
        uint64_t offset = 0;  // file offset, or the hunk a self reference copies
        uint16_t crc = 0;
    };

    bool readHeader(std::string* reason);
    bool readCompressedMap(std::string* reason);
    bool readPlainMap(std::string* reason);
    bool checkMap(std::string* reason) const;
    bool readMetadata(std::string* reason);

    ImageFile file_;
    int64_t fileSize_ = 0;
    uint32_t codecs_[4] = {};
    uint64_t logicalBytes_ = 0;
    uint64_t mapOffset_ = 0;
    uint64_t metadataOffset_ = 0;
    uint32_t hunkBytes_ = 0;
    uint32_t unitBytes_ = 0;
    bool hasParent_ = false;
    std::vector<Entry> map_;
    std::vector<ChdMetadata> metadata_;
};

}  // namespace lumadisc
