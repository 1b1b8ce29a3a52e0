// Audio handed to the host's sound processor under the extended face.
#pragma once

#include <cstdint>

namespace lumadisc {

// The sector half just delivered by a read: header, subheaders and data (2340 bytes).
void xaDeliver(const uint8_t* half);

}  // namespace lumadisc
