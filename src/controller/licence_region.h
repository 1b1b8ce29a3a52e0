// The four identification bytes at the end of GetID's answer: the region named by the licence text
// in the disc's system area.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumadisc {

constexpr int32_t kLicenceSector = 4;  // the system-area sector that carries the licence text

// "SCEA" when the text names America, else "SCEE" for Europe, else "SCEI" for Japan or "Inc.";
// "SCEA" when it names none of them.
const char* regionIdFromLicence(const uint8_t* bytes, size_t size);
// Reads the licence sector of the open disc through the controller's reader and applies the rule;
// "SCEA" when the sector cannot be read.
const char* discRegionId();

}  // namespace lumadisc
