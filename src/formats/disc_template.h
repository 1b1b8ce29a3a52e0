// The first sectors of the executable disc: system area, volume descriptors, path tables and the root
// directory naming "PSX.EXE;1". The bytes are constant data written at build time by
// tools/gen_template, with their EDC and ECC; the library only copies them.
#pragma once

#include <cstdint>

namespace lumadisc::disc_template {

constexpr int kSectors = 23;                 // Lba 0..22
constexpr int kSectorSize = 2352;
constexpr int32_t kExecutableExtent = 23;    // the first sector made from the executable file
constexpr int32_t kVolumeSectors = 768;      // the volume size the descriptor announces
constexpr uint32_t kExecutableBytes = (kVolumeSectors - kExecutableExtent) * 2048;  // 1525760

// Sector n (Lba n) is bytes n * kSectorSize .. + kSectorSize - 1.
extern const uint8_t kBytes[kSectors * kSectorSize];

}  // namespace lumadisc::disc_template
