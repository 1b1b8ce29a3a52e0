#include "controller/host_audio.h"

#include "config/settings.h"
#include "controller/controller_state.h"
#include "controller/host_binding.h"
#include "controller/xa_decoder.h"

namespace lumadisc {

namespace {

constexpr uint32_t kModeXaFilter = 0x08;  // only the channel chosen by Setfilter
constexpr uint32_t kModeXaAudio = 0x40;   // XA audio sectors go to the sound processor
// Half offsets: the header (4 bytes), then the subheader.
constexpr int kSubheader = 4;
constexpr int kFileNumber = 4;
constexpr int kChannelNumber = 5;
constexpr int kSubmode = 6;
constexpr uint8_t kSubmodeAudio = 0x04;
static_assert(kSubheader + kXaSectorSpan <= static_cast<int>(kHalfDataSize), "the decoder stays inside the half");

bool selected(const ControllerState& s, const uint8_t* half) {
    if ((s.mode & kModeXaAudio) == 0 || settingLive(g_settings.playcdxa) == 0 || s.xaState == -1) return false;
    if ((half[kSubmode] & kSubmodeAudio) == 0) return false;
    if ((s.mode & kModeXaFilter) != 0 && half[kChannelNumber] != s.filterChannel) return false;
    // The file number is compared whether or not the channel filter is on.
    return half[kFileNumber] == s.filterFile;
}

}  // namespace

void xaDeliver(const uint8_t* half) {
    ControllerState& s = g_controller;
    if (half == nullptr || !selected(s, half)) return;
    if (decodeXaSector(&s.xa, half + kSubheader, s.xaState) != 0) {
        s.xaState = -1;  // no XA audio for the rest of this read
        return;
    }
    if (s.muted == 0) g_host.playCdxa(&s.xa);
    s.xaState = 0;
}

}  // namespace lumadisc
