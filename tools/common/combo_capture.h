// Capturing a new key combination as the user presses it: the inputs held together at the fullest
// moment of one press, complete once all of them are let go. Shared by `lumadisc keys` and the
// configuration program's capture.
#pragma once

#include "input/key_combo.h"

namespace lumadisc {

class ComboCapture {
public:
    enum class State { kWaiting, kHolding, kDone };

    // Looks at what is down after an inputPoll.
    State step();
    void reset();
    State state() const { return state_; }
    // The inputs down at the last step (at most three).
    const KeyCombo& held() const { return held_; }
    // The most inputs held together so far; the captured combination once done.
    const KeyCombo& combo() const { return combo_; }

private:
    State state_ = State::kWaiting;
    KeyCombo held_{};
    KeyCombo combo_{};
};

}  // namespace lumadisc
