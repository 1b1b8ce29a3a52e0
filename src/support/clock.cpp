#include "support/clock.h"

#include <atomic>

namespace lumadisc {

namespace {
std::atomic<Clock*> g_installedClock{nullptr};
}  // namespace

Clock& currentClock() {
    Clock* installed = g_installedClock.load(std::memory_order_acquire);
    return installed != nullptr ? *installed : systemClock();
}

void installClock(Clock* clock) {
    g_installedClock.store(clock, std::memory_order_release);
}

}  // namespace lumadisc
