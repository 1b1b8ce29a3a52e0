// Audio handed to the host's sound processor under the extended face.
#pragma once

#include <cstdint>

namespace lumadisc {

// The XA hand-off for the sector half just delivered by a read (header, subheaders and data, 2340
// bytes): an XA audio sector of the selected file (and, with the channel filter on, channel) is
// decoded into the controller's `xa` block and, unless muted, passed to spuPlayCDXA.
void xaDeliver(const uint8_t* half);

}  // namespace lumadisc
