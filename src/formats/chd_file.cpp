#include "formats/chd_file.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <set>

#include "disc/cd_utility.h"
#include "formats/chd_cd_codec.h"
#include "formats/chd_huffman.h"

namespace lumadisc {

namespace {

constexpr char kMagic[] = "MComprHD";
constexpr uint32_t kHeaderSizeV5 = 124;
constexpr size_t kMapHeaderSize = 16;
constexpr size_t kMetadataHeaderSize = 16;
// A CD of a hundred minutes and a little more; anything larger is not a disc this reader serves,
// and the bound keeps the map's memory small whatever a header claims.
constexpr uint64_t kMaxUnits = 500000;
constexpr uint32_t kMaxHunkBytes = 4u << 20;
constexpr int kMaxMetadataEntries = 1024;
// A track's metadata is one short line of text ("TRACK:1 TYPE:MODE2_RAW ..."), a GD-ROM's a little
// longer; far more is no track entry.
constexpr uint32_t kMaxTrackEntryBytes = 4096;

// The tags of the track list: "CHT2", "CHTR" (CD) and "CHGD" (GD-ROM).
bool isTrackTag(uint32_t tag) { return tag == 0x43485432 || tag == 0x43485452 || tag == 0x43484744; }
constexpr int kMaxSelfChain = 16;

// Symbols of the compressed map's type stream beyond the seven real types.
enum : int {
    kRleSmall = 7,
    kRleLarge = 8,
    kSelfSame = 9,
    kSelfNext = 10,
    kParentSelf = 11,
    kParentSame = 12,
    kParentNext = 13,
};

// CRC-16 of the map and the hunks: polynomial 0x1021, initial value 0xFFFF, no final inversion.
uint16_t crc16(const uint8_t* data, size_t size) { return crc16Ccitt(data, size, 0xFFFF); }

uint64_t readBe48(const uint8_t* p) { return (static_cast<uint64_t>(readBe16(p)) << 32) | readBe32(p + 2); }
uint32_t readBe24(const uint8_t* p) { return (static_cast<uint32_t>(p[0]) << 16) | readBe16(p + 1); }

}  // namespace

std::string ChdFile::tagText(uint32_t tag) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char c = static_cast<char>((tag >> shift) & 0xFF);
        text += (c >= 0x20 && c < 0x7F) ? c : '?';
    }
    return text;
}

bool ChdFile::open(const char* path, std::string* reason) {
    close();
    fileSize_ = ImageFile::sizeOf(path);
    if (!file_.open(path)) {
        *reason = "cannot be opened";
        return false;
    }
    if (readHeader(reason) && (codecs_[0] == 0 ? readPlainMap(reason) : readCompressedMap(reason)) &&
        checkMap(reason) && readMetadata(reason)) {
        return true;
    }
    close();
    return false;
}

void ChdFile::close() {
    file_.close();
    map_.clear();
    metadata_.clear();
}

bool ChdFile::readHeader(std::string* reason) {
    uint8_t header[kHeaderSizeV5] = {};
    const size_t got = file_.readAt(0, sizeof header, header);
    if (got < 16 || std::memcmp(header, kMagic, 8) != 0) {
        *reason = "not a compressed hunk image (no MComprHD signature)";
        return false;
    }
    const uint32_t version = readBe32(header + 12);
    if (version != 5) {
        *reason = "format version " + std::to_string(version) + " not supported (only version 5)";
        return false;
    }
    if (readBe32(header + 8) != kHeaderSizeV5 || got < kHeaderSizeV5) {
        *reason = "header truncated or of a wrong length";
        return false;
    }
    for (int i = 0; i < 4; ++i) codecs_[i] = readBe32(header + 16 + 4 * i);
    logicalBytes_ = readBe64(header + 32);
    mapOffset_ = readBe64(header + 40);
    metadataOffset_ = readBe64(header + 48);
    hunkBytes_ = readBe32(header + 56);
    unitBytes_ = readBe32(header + 60);
    hasParent_ = std::any_of(header + 104, header + 124, [](uint8_t b) { return b != 0; });
    if (unitBytes_ != static_cast<uint32_t>(kChdFrameSize)) {
        *reason = "unit size " + std::to_string(unitBytes_) + " is not a CD frame (2448)";
        return false;
    }
    if (hunkBytes_ == 0 || hunkBytes_ % unitBytes_ != 0 || hunkBytes_ > kMaxHunkBytes) {
        *reason = "hunk size " + std::to_string(hunkBytes_) + " is not a whole number of CD frames";
        return false;
    }
    if (logicalBytes_ == 0 || logicalBytes_ / unitBytes_ > kMaxUnits) {
        *reason = "image size " + std::to_string(logicalBytes_) + " out of range for a CD";
        return false;
    }
    if (hasParent_) {
        *reason = "needs a parent image (difference images are not supported)";
        return false;
    }
    return true;
}

bool ChdFile::readPlainMap(std::string* reason) {
    const uint64_t hunks = (logicalBytes_ + hunkBytes_ - 1) / hunkBytes_;
    std::vector<uint8_t> raw(hunks * 4);
    if (mapOffset_ > static_cast<uint64_t>(fileSize_) || file_.readAt(static_cast<int64_t>(mapOffset_), raw.size(), raw.data()) != raw.size()) {
        *reason = "hunk map truncated";
        return false;
    }
    map_.resize(hunks);
    for (uint64_t i = 0; i < hunks; ++i) {
        const uint32_t position = readBe32(raw.data() + 4 * i);
        Entry& entry = map_[i];
        entry.checked = false;
        entry.type = position == 0 ? kNone : kUncompressed;
        entry.offset = uint64_t{position} * hunkBytes_;
        entry.length = hunkBytes_;
    }
    return true;
}

bool ChdFile::readCompressedMap(std::string* reason) {
    const uint64_t hunks = (logicalBytes_ + hunkBytes_ - 1) / hunkBytes_;
    uint8_t header[kMapHeaderSize];
    if (mapOffset_ > static_cast<uint64_t>(fileSize_) ||
        file_.readAt(static_cast<int64_t>(mapOffset_), sizeof header, header) != sizeof header) {
        *reason = "hunk map truncated";
        return false;
    }
    const uint32_t mapBytes = readBe32(header);
    uint64_t offset = readBe48(header + 4);
    const uint16_t mapCrc = readBe16(header + 10);
    const int lengthBits = header[12], selfBits = header[13], parentBits = header[14];
    if (lengthBits > 32 || selfBits > 32 || parentBits > 32 ||
        mapBytes > static_cast<uint64_t>(fileSize_) - mapOffset_ - kMapHeaderSize) {
        *reason = "hunk map truncated or malformed";
        return false;
    }
    std::vector<uint8_t> stream(mapBytes);
    if (file_.readAt(static_cast<int64_t>(mapOffset_ + kMapHeaderSize), mapBytes, stream.data()) != mapBytes) {
        *reason = "hunk map truncated";
        return false;
    }
    ChdBitReader bits(stream.data(), stream.size());
    ChdHuffman huffman(16, 8);
    if (!huffman.importLengths(bits)) {
        *reason = "hunk map code table malformed";
        return false;
    }
    // The types first, with runs of the previous type.
    std::vector<uint8_t> types(hunks);
    int previous = 0;
    uint32_t repeat = 0;
    for (uint64_t i = 0; i < hunks; ++i) {
        if (repeat > 0) {
            types[i] = static_cast<uint8_t>(previous);
            --repeat;
            continue;
        }
        const int symbol = huffman.decode(bits);
        if (symbol < 0 || bits.overrun()) {
            *reason = "hunk map type stream malformed";
            return false;
        }
        if (symbol == kRleSmall) {
            repeat = 2 + static_cast<uint32_t>(std::max(huffman.decode(bits), 0));
            types[i] = static_cast<uint8_t>(previous);
        } else if (symbol == kRleLarge) {
            const int high = std::max(huffman.decode(bits), 0);
            const int low = std::max(huffman.decode(bits), 0);
            repeat = 2 + 16 + 16 * static_cast<uint32_t>(high) + static_cast<uint32_t>(low);
            types[i] = static_cast<uint8_t>(previous);
        } else {
            types[i] = static_cast<uint8_t>(symbol);
            previous = symbol;
        }
    }
    // Then each hunk's fields, in hunk order.
    map_.resize(hunks);
    std::vector<uint8_t> expanded(hunks * 12);
    uint64_t lastSelf = 0, lastParent = 0;
    const uint64_t unitsPerHunk = hunkBytes_ / unitBytes_;
    for (uint64_t i = 0; i < hunks; ++i) {
        Entry& entry = map_[i];
        switch (types[i]) {
        case 0: case 1: case 2: case 3:
            entry.type = types[i];
            entry.length = bits.read(lengthBits);
            entry.crc = static_cast<uint16_t>(bits.read(16));
            entry.offset = offset;
            offset += entry.length;
            break;
        case kUncompressed:
            entry.type = kUncompressed;
            entry.length = hunkBytes_;
            entry.crc = static_cast<uint16_t>(bits.read(16));
            entry.offset = offset;
            offset += hunkBytes_;
            break;
        case kSelf:
            entry.type = kSelf;
            entry.offset = lastSelf = bits.read(selfBits);
            break;
        case kSelfNext:
            ++lastSelf;
            [[fallthrough]];
        case kSelfSame:
            entry.type = kSelf;
            entry.offset = lastSelf;
            break;
        case kParent:
            entry.type = kParent;
            entry.offset = lastParent = bits.read(parentBits);
            break;
        case kParentSelf:
            entry.type = kParent;
            entry.offset = lastParent = i * unitsPerHunk;
            break;
        case kParentNext:
            lastParent += unitsPerHunk;
            [[fallthrough]];
        case kParentSame:
            entry.type = kParent;
            entry.offset = lastParent;
            break;
        default:
            *reason = "hunk map holds an unknown hunk type";
            return false;
        }
        uint8_t* row = expanded.data() + 12 * i;
        row[0] = entry.type;
        row[1] = static_cast<uint8_t>(entry.length >> 16);
        writeBe16(row + 2, entry.length);
        writeBe16(row + 4, static_cast<uint32_t>(entry.offset >> 32));
        writeBe32(row + 6, static_cast<uint32_t>(entry.offset));
        writeBe16(row + 10, entry.crc);
    }
    if (crc16(expanded.data(), expanded.size()) != mapCrc) {
        *reason = "hunk map CRC mismatch";
        return false;
    }
    return true;
}

bool ChdFile::checkMap(std::string* reason) const {
    for (size_t i = 0; i < map_.size(); ++i) {
        const Entry& entry = map_[i];
        const std::string hunk = "hunk " + std::to_string(i);
        if (entry.type <= kUncompressed && entry.offset + entry.length > static_cast<uint64_t>(fileSize_)) {
            *reason = hunk + " lies beyond the end of the file (truncated)";
            return false;
        }
        if (entry.type <= kUncompressed && entry.length > hunkBytes_) {
            *reason = hunk + " is longer than a hunk (malformed map)";
            return false;
        }
        if (entry.type < kUncompressed && !chdCdCodecKnown(codecs_[entry.type])) {
            *reason = hunk + " uses codec '" + tagText(codecs_[entry.type]) + "', which is not supported";
            return false;
        }
        if (entry.type == kSelf && entry.offset >= map_.size()) {
            *reason = hunk + " copies a hunk beyond the image";
            return false;
        }
        if (entry.type == kParent) {
            *reason = hunk + " needs a parent image";
            return false;
        }
    }
    return true;
}

bool ChdFile::readMetadata(std::string* reason) {
    uint64_t offset = metadataOffset_;
    std::set<uint64_t> visited;  // an entry whose "next" leads back is a loop, not a longer list
    for (int count = 0; offset != 0; ++count) {
        uint8_t header[kMetadataHeaderSize];
        if (count >= kMaxMetadataEntries) {
            *reason = "metadata list does not end";
            return false;
        }
        if (!visited.insert(offset).second) {
            *reason = "metadata list loops back on itself";
            return false;
        }
        if (offset > static_cast<uint64_t>(fileSize_) ||
            file_.readAt(static_cast<int64_t>(offset), sizeof header, header) != sizeof header) {
            *reason = "metadata entry beyond the end of the file (truncated)";
            return false;
        }
        ChdMetadata entry;
        entry.tag = readBe32(header);
        const uint32_t size = readBe24(header + 5);
        // The size an entry declares is checked against the file before memory is taken for it.
        if (offset + kMetadataHeaderSize + size > static_cast<uint64_t>(fileSize_)) {
            *reason = "metadata entry beyond the end of the file (truncated)";
            return false;
        }
        if (!isTrackTag(entry.tag)) {  // only the track list is kept
            offset = readBe64(header + 8);
            continue;
        }
        if (size > kMaxTrackEntryBytes) {
            *reason = "a track metadata entry of " + std::to_string(size) + " bytes";
            return false;
        }
        entry.data.resize(size);
        if (file_.readAt(static_cast<int64_t>(offset + kMetadataHeaderSize), entry.data.size(), entry.data.data()) !=
            entry.data.size()) {
            *reason = "metadata entry beyond the end of the file (truncated)";
            return false;
        }
        metadata_.push_back(std::move(entry));
        offset = readBe64(header + 8);
    }
    return true;
}

bool ChdFile::readHunk(uint32_t hunk, uint8_t* out, std::string* reason) const {
    for (int depth = 0; depth < kMaxSelfChain; ++depth) {
        if (hunk >= map_.size()) {
            *reason = "hunk " + std::to_string(hunk) + " beyond the image";
            return false;
        }
        const Entry& entry = map_[hunk];
        if (entry.type == kSelf) {
            hunk = static_cast<uint32_t>(entry.offset);
            continue;
        }
        if (entry.type == kNone) {
            std::memset(out, 0, hunkBytes_);
            return true;
        }
        if (entry.type == kParent) {
            *reason = "hunk " + std::to_string(hunk) + " needs a parent image";
            return false;
        }
        std::vector<uint8_t> stored(entry.length);
        if (file_.readAt(static_cast<int64_t>(entry.offset), stored.size(), stored.data()) != stored.size()) {
            *reason = "hunk " + std::to_string(hunk) + " cut short (file truncated)";
            return false;
        }
        if (entry.type == kUncompressed) {
            std::memcpy(out, stored.data(), hunkBytes_);
        } else {
            const char* why = "";
            if (!chdDecodeCdHunk(codecs_[entry.type], stored.data(), stored.size(), hunkBytes_, out, &why)) {
                *reason = "hunk " + std::to_string(hunk) + " does not decode (" + why + ")";
                return false;
            }
        }
        if (entry.checked && crc16(out, hunkBytes_) != entry.crc) {
            *reason = "hunk " + std::to_string(hunk) + " fails its CRC check";
            return false;
        }
        return true;
    }
    *reason = "hunk " + std::to_string(hunk) + " copies itself";
    return false;
}

}  // namespace lumadisc
