// CRC of the Q subchannel: CRC-16, polynomial 0x1021, initial value 0, MSB first, then inverted.
// The high byte goes to Q byte 10, the low byte to Q byte 11.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace lumadisc {

namespace detail {
constexpr std::array<uint16_t, 256> makeQCrcTable() {
    std::array<uint16_t, 256> table{};
    for (int i = 0; i < 256; ++i) {
        uint16_t value = static_cast<uint16_t>(i << 8);
        for (int bit = 0; bit < 8; ++bit)
            value = static_cast<uint16_t>((value & 0x8000) ? (value << 1) ^ 0x1021 : value << 1);
        table[static_cast<std::size_t>(i)] = value;
    }
    return table;
}
inline constexpr std::array<uint16_t, 256> kQCrcTable = makeQCrcTable();
static_assert(kQCrcTable[1] == 0x1021);
}  // namespace detail

inline uint16_t qCrc(const uint8_t* data, int length) {
    uint16_t crc = 0;
    for (int i = 0; i < length; ++i)
        crc = static_cast<uint16_t>((crc << 8) ^ detail::kQCrcTable[((crc >> 8) ^ data[i]) & 0xFF]);
    return static_cast<uint16_t>(~crc);
}

// True when Q bytes 10 and 11 hold the CRC of Q bytes 0..9.
inline bool qCrcValid(const uint8_t* q) {
    const uint16_t crc = qCrc(q, 10);
    return q[10] == (crc >> 8) && q[11] == (crc & 0xFF);
}

}  // namespace lumadisc
