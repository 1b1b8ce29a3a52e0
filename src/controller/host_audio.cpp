#include "controller/host_audio.h"

namespace lumadisc {

// XA sectors are not decoded for the host yet: the delivery passes every sector here and nothing
// reaches spuPlayCDXA.
void xaDeliver(const uint8_t*) {}

}  // namespace lumadisc
