// lumadisc-config: the settings window of the lumaDisc plugin, and the same settings from the command line.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tools/config_program/command_line.h"
#include "tools/config_program/dialog.h"

namespace {

bool haveDisplay() {
    const char* x = std::getenv("DISPLAY");
    const char* wayland = std::getenv("WAYLAND_DISPLAY");
    return (x != nullptr && x[0] != '\0') || (wayland != nullptr && wayland[0] != '\0');
}

}  // namespace

int main(int argc, char** argv) {
    using namespace lumadisc::configprogram;
    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (!arguments.empty()) return runCommandLine(arguments);
    // Started with no arguments by the plugin: an automation (or a test) can still give it options.
    if (const char* script = std::getenv("LUMADISC_CONFIG_SCRIPT"); script != nullptr && script[0] != '\0') {
        if (!splitOptions(script, &arguments)) {
            std::fprintf(stderr, "lumadisc-config: LUMADISC_CONFIG_SCRIPT cannot be read as options: %s\n", script);
            return 2;
        }
        return runCommandLine(arguments);
    }
    if (!haveDisplay()) {
        std::fprintf(stderr, "lumadisc-config: there is no display for the settings window; use the command line.\n%s",
                     commandLineUsage().c_str());
        return 2;
    }
    return runDialog(argc, argv);
}
