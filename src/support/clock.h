// The monotonic clock behind the stopwatches; tests install a fake one.
#pragma once

#include <cstdint>

namespace lumadisc {

class Clock {
public:
    virtual ~Clock() = default;
    // Nanoseconds on a monotonic scale with an arbitrary origin.
    virtual int64_t nowNanoseconds() = 0;
};

// The system's monotonic clock (clock_linux.cpp).
Clock& systemClock();
// The clock in use: the system clock unless a test installed another one.
Clock& currentClock();
// Installs a clock; null restores the system clock.
void installClock(Clock* clock);

}  // namespace lumadisc
