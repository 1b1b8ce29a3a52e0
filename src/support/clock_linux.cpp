// The system clock: CLOCK_MONOTONIC, which never jumps with wall-clock changes.
#include <time.h>

#include "support/clock.h"

namespace lumadisc {

namespace {

class MonotonicClock final : public Clock {
public:
    int64_t nowNanoseconds() override {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
    }
};

}  // namespace

Clock& systemClock() {
    static MonotonicClock clock;
    return clock;
}

}  // namespace lumadisc
