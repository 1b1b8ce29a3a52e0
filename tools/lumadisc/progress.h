// The progress bar of the long-running commands: drawn on standard error only when that is a
// terminal, so that scripts and logs get the summary alone.
#pragma once

#include <cstdint>
#include <string>

namespace lumadisc::tool {

class ProgressBar {
public:
    // `label` heads the bar; total is the count of steps.
    ProgressBar(std::string label, int64_t total);
    ~ProgressBar() { finish(); }
    // Redraws when the shown percentage changes.
    void update(int64_t done);
    // Clears the bar's line.
    void finish();

private:
    std::string label_;
    int64_t total_;
    int shown_ = -1;
    bool active_;
};

}  // namespace lumadisc::tool
