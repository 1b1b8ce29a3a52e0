#include "tools/common/combo_capture.h"

#include "input/input_devices.h"

namespace lumadisc {

ComboCapture::State ComboCapture::step() {
    if (state_ == State::kDone) return state_;
    KeyInput down[kComboInputs];
    held_ = KeyCombo{};
    held_.count = inputDownList(down, kComboInputs);
    for (int i = 0; i < held_.count; ++i) held_.inputs[i] = down[i];
    if (held_.count > combo_.count) combo_ = held_;  // letting go of a modifier first keeps the fuller set
    if (held_.count > 0) {
        state_ = State::kHolding;
    } else if (state_ == State::kHolding) {
        state_ = State::kDone;
    }
    return state_;
}

void ComboCapture::reset() {
    state_ = State::kWaiting;
    held_ = KeyCombo{};
    combo_ = KeyCombo{};
}

}  // namespace lumadisc
