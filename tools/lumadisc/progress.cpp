#include "tools/lumadisc/progress.h"

#include <unistd.h>

#include <cstdio>

namespace lumadisc::tool {

namespace {
constexpr int kBarWidth = 40;
}

ProgressBar::ProgressBar(std::string label, int64_t total)
    : label_(std::move(label)), total_(total > 0 ? total : 1), active_(isatty(STDERR_FILENO) == 1) {}

void ProgressBar::update(int64_t done) {
    if (!active_) return;
    const int percent = static_cast<int>(done * 100 / total_);
    if (percent == shown_) return;
    shown_ = percent;
    const int filled = percent * kBarWidth / 100;
    std::fprintf(stderr, "\r%s [%.*s%*s] %3d%%  %lld/%lld", label_.c_str(), filled,
                 "########################################", kBarWidth - filled, "", percent,
                 static_cast<long long>(done), static_cast<long long>(total_));
    std::fflush(stderr);
}

void ProgressBar::finish() {
    if (!active_ || shown_ < 0) return;
    std::fprintf(stderr, "\r%*s\r", static_cast<int>(label_.size()) + kBarWidth + 32, "");
    std::fflush(stderr);
    shown_ = -1;
}

}  // namespace lumadisc::tool
