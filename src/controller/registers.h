// The controller's four byte ports, 0x1800 to 0x1803, as the host's port hooks reach them.
#pragma once

#include <cstdint>

namespace lumadisc {

constexpr uint32_t kPortStatus = 0x1800;
constexpr uint32_t kPortCommand = 0x1801;
constexpr uint32_t kPortParameter = 0x1802;
constexpr uint32_t kPortInterrupt = 0x1803;

// Read handler: the byte read from port.
uint32_t ReadCdrByte(uint32_t port);
// Write handler: value (its low 8 bits) written to port.
void WriteCdrByte(uint32_t value, uint32_t port);

}  // namespace lumadisc
