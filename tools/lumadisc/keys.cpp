// lumadisc keys: shows the names of the inputs as the user presses them and prints the combination
// string to paste into the settings file's "hot keys" section. The devices are read as the plugin's
// hot-key thread reads them: keys through the X server (or evdev without one), mice and joysticks
// through evdev.
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "tools/common/combo_capture.h"
#include "input/input_devices.h"
#include "support/list_pool.h"
#include "tools/lumadisc/command_table.h"
#include "tools/lumadisc/commands.h"

namespace lumadisc::tool {

namespace {

constexpr auto kPollPeriod = std::chrono::milliseconds(50);

void describeDevices() {
    std::printf("keys through %s; %i mouse/mice, %i joystick(s)\n",
                inputKeyboardFromServer() ? "the X server" : "evdev keyboards", inputDeviceCount(kFamilyMouse),
                inputDeviceCount(kFamilyJoystick));
}

}  // namespace

int runKeys(const Arguments& arguments) {
    long count = 1;
    long seconds = 30;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        if ((word == "--count" || word == "--seconds") && i + 1 < arguments.size()) {
            long* target = word == "--count" ? &count : &seconds;
            if (!parseNumber(arguments[++i], target) || *target < 1) return usageError("keys");
        } else {
            return usageError("keys");
        }
    }
    listPoolInit();
    inputInit();
    inputOpen();
    describeDevices();
    std::printf("Press a combination of up to three inputs, then let go.\n");
    std::fflush(stdout);

    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    ComboCapture capture;
    std::string shown;
    long captured = 0;
    while (captured < count && std::chrono::steady_clock::now() < end) {
        inputPoll();
        if (capture.step() == ComboCapture::State::kDone) {
            char text[32];
            comboFormat(capture.combo(), text, sizeof text);
            std::printf("%s\n%s\n", comboText(capture.combo()), text);
            std::fflush(stdout);
            capture.reset();
            shown.clear();
            ++captured;
            continue;
        }
        const std::string now = capture.held().count > 0 ? comboText(capture.held()) : "";
        if (!now.empty() && now != shown) {
            std::printf("  %s\n", now.c_str());
            std::fflush(stdout);
        }
        shown = now;
        std::this_thread::sleep_for(kPollPeriod);
    }
    inputClose();
    inputShutdown();
    listPoolShutdown();
    if (captured < count) {
        std::fprintf(stderr, "lumadisc: no combination pressed within %li seconds\n", seconds);
        return kExitFailure;
    }
    return kExitOk;
}

}  // namespace lumadisc::tool
