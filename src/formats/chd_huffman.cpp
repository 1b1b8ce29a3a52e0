#include "formats/chd_huffman.h"

namespace lumadisc {

uint32_t ChdBitReader::read(int count) {
    uint32_t value = 0;
    for (int i = 0; i < count; ++i) {
        const size_t byte = bitPosition_ >> 3;
        uint32_t bit = 0;
        if (byte < size_) {
            bit = (data_[byte] >> (7 - (bitPosition_ & 7))) & 1u;
        } else {
            overrun_ = true;
        }
        value = (value << 1) | bit;
        ++bitPosition_;
    }
    return value;
}

ChdHuffman::ChdHuffman(int symbols, int maxBits)
    : symbols_(symbols), maxBits_(maxBits), lengths_(static_cast<size_t>(symbols)), codes_(static_cast<size_t>(symbols)) {}

bool ChdHuffman::importLengths(ChdBitReader& bits) {
    const int width = maxBits_ >= 16 ? 5 : maxBits_ >= 8 ? 4 : 3;
    int symbol = 0;
    while (symbol < symbols_) {
        const int value = static_cast<int>(bits.read(width));
        if (value != 1) {
            lengths_[static_cast<size_t>(symbol++)] = static_cast<uint8_t>(value);
            continue;
        }
        const int repeated = static_cast<int>(bits.read(width));
        if (repeated == 1) {
            lengths_[static_cast<size_t>(symbol++)] = 1;
            continue;
        }
        const int count = static_cast<int>(bits.read(width)) + 3;
        if (symbol + count > symbols_) return false;
        for (int i = 0; i < count; ++i) lengths_[static_cast<size_t>(symbol++)] = static_cast<uint8_t>(repeated);
    }
    return assignCodes();
}

bool ChdHuffman::assignCodes() {
    std::vector<uint32_t> perLength(33, 0);
    for (const uint8_t length : lengths_) {
        if (length > maxBits_) return false;
        ++perLength[length];
    }
    // Longest codes first: each length's first code follows from the counts of the longer ones.
    std::vector<uint32_t> firstCode(33, 0);
    uint32_t start = 0;
    for (int length = 32; length > 0; --length) {
        const uint32_t next = start + perLength[static_cast<size_t>(length)];
        if (length > 1 && (next & 1) != 0) return false;
        firstCode[static_cast<size_t>(length)] = start;
        start = next >> 1;
    }
    lookup_.assign(static_cast<size_t>(maxBits_) + 1, {});
    for (int length = 1; length <= maxBits_; ++length) lookup_[static_cast<size_t>(length)].assign(size_t{1} << length, 0);
    for (int symbol = 0; symbol < symbols_; ++symbol) {
        const uint8_t length = lengths_[static_cast<size_t>(symbol)];
        if (length == 0) continue;
        const uint32_t code = firstCode[length]++;
        if (code >= (1u << length)) return false;
        codes_[static_cast<size_t>(symbol)] = code;
        lookup_[length][code] = static_cast<uint16_t>(symbol + 1);
    }
    return true;
}

int ChdHuffman::decode(ChdBitReader& bits) const {
    uint32_t code = 0;
    for (int length = 1; length <= maxBits_; ++length) {
        code = (code << 1) | bits.read(1);
        const uint16_t entry = lookup_[static_cast<size_t>(length)][code];
        if (entry != 0) return entry - 1;
    }
    return -1;
}

}  // namespace lumadisc
