// The sound libraries' own messages stay off the emulator's terminal: a disc played with logging off
// prints nothing of OpenAL's or ALSA's, and with logging on a machine without a sound device finds the
// one line that says so in the plugin's log.
#include "tests/e2e/plugin_harness.h"
#include "tests/e2e/tool_runner.h"

namespace lumadisc::e2e {
namespace {

class SoundMessages : public PluginHarness {};

TEST_F(SoundMessages, TheSoundLibrariesPrintNothingOfTheirOwnWhileLoggingIsOff) {
    const std::string disc = writeCue(fixtures::CueImageBuilder().addDataTrack(20).addAudioTrack(100)).cuePath;
    // OpenAL through ALSA, as on a player's machine; on one without a sound card (a test machine) the
    // device does not open, and both libraries have their error lines to print.
    const std::string environment = "env -u ALSOFT_LOGLEVEL -u ALSOFT_CONF ALSOFT_DRIVERS=alsa ";
    for (const bool logging : {false, true}) {
        SCOPED_TRACE(logging ? "logging on" : "logging off");
        std::vector<std::string> arguments = {"--plugin", LUMADISC_PLUGIN_PATH, "play", disc, "2", "--seconds", "1"};
        if (logging) arguments.insert(arguments.begin(), "--log");
        const ToolResult run = runProgram(scratch_, LUMADISC_TOOL_PATH, arguments, environment);
        const std::string printed = run.out + run.err;
        EXPECT_EQ(printed.find("ALSA lib"), std::string::npos) << printed;
        if (!logging) {
            EXPECT_EQ(printed.find("AL lib:"), std::string::npos) << printed;
            // Without a sound device the tool says so once and fails, rather than "playing" silence.
            if (run.exitCode != 0) {
                EXPECT_EQ(run.exitCode, 1);
                EXPECT_EQ(run.err, "lumadisc: no sound device opens, nothing is played (--wav FILE writes the track to a file)\n");
            }
        } else if (printed.find("ALC_DEVICE_SPECIFIER") == std::string::npos) {
            EXPECT_NE(printed.find("[CDR] Warning: no sound device opens, CD audio is not played.\n"), std::string::npos)
                << printed;
        }
    }
}

}  // namespace
}  // namespace lumadisc::e2e
