// The settings program's leak-checker suppressions hide only the toolkit's own memory: a program that
// shows a window under them ends cleanly, and the same program losing a block of its own is reported.
#include <gtest/gtest.h>

#include "tests/e2e/hot_key_support.h"
#include "tests/e2e/plugin_harness.h"
#include "tests/e2e/tool_runner.h"

namespace lumadisc::e2e {
namespace {

class LeakCheck : public PluginHarness {};

TEST_F(LeakCheck, ToolkitMemoryIsLeftOutButALeakOfOurOwnIsReported) {
#if !defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "only a build with the leak checker reports leaks";
#endif
    XvfbServer xvfb;
    std::string why;
    if (!xvfb.start(&why)) GTEST_SKIP() << why;
    // No session bus: the accessibility bridge then keeps what it allocated while looking for one.
    const std::string prefix = "env DISPLAY=" + xvfb.display() + " DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent ";
    const ToolResult clean = runProgram(scratch_, LUMADISC_LEAK_PROBE_PATH, {}, prefix);
    EXPECT_EQ(clean.exitCode, 0) << describeRun(clean);
    EXPECT_EQ(clean.err.find("LeakSanitizer"), std::string::npos) << clean.err;
    const ToolResult leaking = runProgram(scratch_, LUMADISC_LEAK_PROBE_PATH, {"--leak"}, prefix);
    EXPECT_NE(leaking.exitCode, 0) << describeRun(leaking);
    EXPECT_NE(leaking.err.find("LeakSanitizer"), std::string::npos) << leaking.err;
    EXPECT_NE(leaking.err.find("loseBlock"), std::string::npos) << "the report names our function\n" << leaking.err;
}

}  // namespace
}  // namespace lumadisc::e2e
