// The bit stream and the canonical Huffman code of a compressed image's hunk map: bits most
// significant first, code lengths sent in a small run-length form, longest codes numerically first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lumadisc {

class ChdBitReader {
public:
    ChdBitReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    // The next `count` (0..32) bits; past the end of the data the stream reads as zero bits.
    uint32_t read(int count);
    // True once a read went past the end of the data.
    bool overrun() const { return overrun_; }

private:
    const uint8_t* data_;
    size_t size_;
    size_t bitPosition_ = 0;
    bool overrun_ = false;
};

class ChdHuffman {
public:
    // An alphabet of `symbols` symbols whose codes are at most `maxBits` long.
    ChdHuffman(int symbols, int maxBits);
    // Reads the code lengths from the stream and builds the codes; false when the lengths are not
    // a valid code (a run past the alphabet, a length above maxBits, lengths that do not add up).
    bool importLengths(ChdBitReader& bits);
    // The next symbol; -1 when the bits match no code.
    int decode(ChdBitReader& bits) const;

private:
    bool assignCodes();

    const int symbols_;
    const int maxBits_;
    std::vector<uint8_t> lengths_;
    std::vector<uint32_t> codes_;
    // lookup_[length][code] = symbol + 1, 0 for none
    std::vector<std::vector<uint16_t>> lookup_;
};

}  // namespace lumadisc
