// The settings window under a virtual X server, driven by synthetic key presses: a disc, a volume and
// a captured hot key reach the file on OK (and the plugin opens that disc); Cancel leaves the file alone.
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "tests/e2e/hot_key_support.h"
#include "tests/e2e/plugin_harness.h"
#include "tests/e2e/tool_runner.h"
#include "tools/fixtures/file_writer.h"

extern char** environ;

namespace lumadisc::e2e {
namespace {

using namespace std::chrono_literals;
using fixtures::CueImageBuilder;

class ConfigDialog : public PluginHarness {
protected:
    void SetUp() override {
        PluginHarness::SetUp();
#if defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "the toolkit is not built with ThreadSanitizer; the window is tested in the other builds";
#endif
        std::string why;
        if (!xvfb_.start(&why)) GTEST_SKIP() << why;
        first_ = writeCue(CueImageBuilder().addDataTrack(40), "first").cuePath;
        second_ = writeCue(CueImageBuilder().addDataTrack(30).addAudioTrack(20), "second").cuePath;
        fixtures::makeDirectories(dir() + "/configs", nullptr);  // the emulator's plugin directory
        const ToolResult r = runProgram(scratch_, LUMADISC_CONFIG_PROGRAM_PATH, {"--disc", first_});
        ASSERT_EQ(r.exitCode, 0) << describeRun(r);
    }
    void TearDown() override {
        if (child_ > 0) {
            kill(child_, SIGKILL);
            waitpid(child_, nullptr, 0);
        }
        PluginHarness::TearDown();
    }
    // Starts the window in the scratch directory and waits until it is shown.
    void startWindow() {
        environment_.set("DISPLAY", xvfb_.display());
        char* argv[] = {const_cast<char*>(LUMADISC_CONFIG_PROGRAM_PATH), nullptr};
        ASSERT_EQ(posix_spawn(&child_, argv[0], nullptr, nullptr, argv, environ), 0);
        // Without a window manager the keyboard follows the pointer unless the window takes the focus.
        ASSERT_TRUE(xvfb_.xdotool("search --sync --name 'lumaDisc settings' windowfocus --sync"));
        std::this_thread::sleep_for(300ms);
    }
    void keys(const std::string& sequence) {
        ASSERT_TRUE(xvfb_.xdotool("key --delay 100 " + sequence)) << sequence;
        std::this_thread::sleep_for(200ms);
    }
    // The program's exit code once it has ended; -1 when it has not within the limit, which only bounds
    // a hung program (a sanitizer build on a loaded machine takes seconds to close the window).
    int exitCode() {
        int status = 0;
        const bool ended = waitUntil([&] { return waitpid(child_, &status, WNOHANG) == child_; }, 30s);
        if (!ended) return -1;
        child_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string ini() const { return host::readFile(dir() + "/configs/lumaDisc.ini"); }

    XvfbServer xvfb_;
    EnvironmentOverride environment_;
    pid_t child_ = -1;
    std::string first_, second_;
};

TEST_F(ConfigDialog, OkSavesTheDiscAVolumeAndACapturedHotKeyForThePlugin) {
    startWindow();
    keys("alt+i ctrl+a BackSpace");
    ASSERT_TRUE(xvfb_.xdotool("type --delay 20 '" + second_ + "'"));
    keys("alt+a alt+v Home");   // CD audio volume to its lowest
    keys("alt+h alt+w space");  // capture the settings-window hot key
    ASSERT_TRUE(xvfb_.press("F5", 200ms, 500ms));
    keys("alt+o");
    ASSERT_EQ(exitCode(), 0);
    const std::string text = ini();
    EXPECT_NE(text.find("\ncurrent                        = " + second_ + "\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\n0                              = " + second_ + "\n"), std::string::npos)
        << "first in the recently used list\n" << text;
    EXPECT_NE(text.find("\ncddavolumelevel                = 0\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\nconfigdialog0                  = 0110000047\n"), std::string::npos) << "F5\n" << text;
    ASSERT_EQ(api().init(), 0);
    ASSERT_EQ(api().open(), 0);
    unsigned char tn[2] = {0, 0};
    api().getTN(tn);
    EXPECT_EQ(tn[1], 2) << "the plugin opens the disc chosen in the window";
}

TEST_F(ConfigDialog, CancelLeavesTheFileByteForByte) {
    const std::string before = ini();
    startWindow();
    keys("alt+a alt+v Home alt+e alt+t");  // the CD audio volume, then "Cache read sectors"
    keys("alt+c");                         // Cancel
    EXPECT_EQ(exitCode(), 1);
    EXPECT_EQ(ini(), before);
}

}  // namespace
}  // namespace lumadisc::e2e
