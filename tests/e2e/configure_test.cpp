// The configuration program started by the plugin's two faces: CDRconfigure in each state of the
// classic face, calldialogonstart, the extended face's Configure around its controller state, and a
// program that is missing.
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "host/console_driver.h"
#include "host/console_host.h"
#include "tests/e2e/hot_key_support.h"
#include "tests/e2e/plugin_harness.h"

namespace lumadisc::e2e {
namespace {

using namespace std::chrono_literals;
using fixtures::CueImageBuilder;

class Configure : public PluginHarness {
protected:
    void SetUp() override {
        PluginHarness::SetUp();
        first_ = writeCue(CueImageBuilder().addDataTrack(40), "first").cuePath;
        second_ = writeCue(CueImageBuilder().addDataTrack(30).addAudioTrack(20), "second").cuePath;
        std::ofstream(dir() + "/disc-cycle") << first_ << "\n" << second_ << "\n";
    }
    int lastTrack() {
        unsigned char tn[2] = {0, 0};
        api().getTN(tn);
        return tn[1];
    }
    fixtures::PluginIni settings(bool dialogOnStart = false) {
        auto s = settingsFor(first_);
        if (dialogOnStart) s.extra.push_back({"misc", {"calldialogonstart", "true"}});
        return s;
    }

    std::string first_, second_;
};

TEST_F(Configure, BeforeInitOnlyRunsTheProgram) {
    writeConfigStandIn(dir());
    std::string error;
    ASSERT_TRUE(fixtures::writePluginIni(dir(), settings(), &error)) << error;
    EXPECT_EQ(api().configure(), 0);
    EXPECT_EQ(configRuns(dir()), 1);
    EXPECT_EQ(api().open(), 0) << "still not initialised: open does nothing";
    EXPECT_EQ(log(), "");
}

TEST_F(Configure, OnAnOpenDiscClosesRunsAndReopensWithTheNewChoice) {
    writeConfigStandIn(dir());
    ASSERT_EQ(openWith(settings()), 0);
    ASSERT_EQ(lastTrack(), 1);
    EXPECT_EQ(api().configure(), 0);
    EXPECT_EQ(configRuns(dir()), 1);
    EXPECT_EQ(lastTrack(), 2) << "the reopened disc is the one the program chose";
    const std::string text = log();
    EXPECT_EQ(text.find("[CDR] Close()\n"), std::string::npos) << "the reopened log starts afresh";
    EXPECT_NE(text.find("[CDR] CDRopen()\n"), std::string::npos) << text;
}

TEST_F(Configure, WithCallDialogOnStartTheProgramRunsOnEveryOpen) {
    writeConfigStandIn(dir());
    ASSERT_EQ(openWith(settings(true)), 0);
    EXPECT_EQ(configRuns(dir()), 1);
    EXPECT_EQ(lastTrack(), 2) << "the open after the program uses its choice";
    EXPECT_EQ(api().configure(), 0);
    EXPECT_EQ(configRuns(dir()), 3) << "once itself, once in the reopening";
    EXPECT_EQ(lastTrack(), 2) << "chosen twice: first, then second again";
    api().close();
    api().shutdown();
    EXPECT_EQ(api().configure(), 0);
    EXPECT_EQ(configRuns(dir()), 4) << "closed and shut down: only the program";
}

TEST_F(Configure, AMissingProgramNeitherHangsNorStopsTheDisc) {
    ASSERT_EQ(openWith(settings()), 0);
    // Neither in configs/ nor beside the plugin in the build; an installed copy on $PATH is kept out too.
    EnvironmentOverride environment;
    environment.set("PATH", dir());
    const auto start = std::chrono::steady_clock::now();
    testing::internal::CaptureStdout();
    EXPECT_EQ(api().configure(), 0);
    const std::string said = testing::internal::GetCapturedStdout();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 3s);
    EXPECT_EQ(lastTrack(), 1) << "the disc is open again";
    // With the log closed around the program, standard output says why.
    EXPECT_NE(said.find("[SYS] Error: configuration program not "), std::string::npos) << said;
}

TEST_F(Configure, ExtendedConfigureKeepsTheControllerState) {
    writeConfigStandIn(dir(), "sleep 0.2");
    std::string error;
    auto s = settings();
    s.playCdda = false;
    ASSERT_TRUE(fixtures::writePluginIni(dir(), s, &error)) << error;
    host::ConsoleHost console;
    host::ConsoleDriver driver(console);
    ASSERT_TRUE(console.load(LUMADISC_PLUGIN_PATH)) << console.error();
    console.setConfigDirectory(dir() + "/configs");
    ASSERT_EQ(console.init(), 0);
    ASSERT_EQ(console.open(), 0);
    ASSERT_EQ(console.start(), 0);
    ASSERT_TRUE(driver.command(host::kCmdSetloc, {0x00, 0x02, 0x10}).complete);
    ASSERT_TRUE(driver.command(host::kCmdReadN).complete);
    ASSERT_TRUE(driver.nextSector(1024));
    console.advance(500);

    StateRecord* before = console.saveState();
    ASSERT_NE(before, nullptr);
    EXPECT_EQ(console.configure(), 0);
    StateRecord* after = console.saveState();
    ASSERT_NE(after, nullptr);
    EXPECT_EQ(configRuns(dir()), 1);
    EXPECT_EQ(std::memcmp(before->controller, after->controller, sizeof before->controller), 0);
    EXPECT_EQ(before->interruptTicks, after->interruptTicks);
    EXPECT_EQ(before->readTicks, after->readTicks);
    EXPECT_EQ(before->coverClosedTicks, after->coverClosedTicks);
    EXPECT_EQ(before->reportTicks, after->reportTicks);
    std::free(before);
    std::free(after);
    console.bringDown();
}

}  // namespace
}  // namespace lumadisc::e2e

namespace lumadisc::e2e {
namespace {

// A first run, before any settings exist: the program (found on PATH) is started in a new settings
// directory instead of not at all.
TEST_F(Configure, WithoutASettingsDirectoryTheProgramStartsInANewOne) {
    const std::string bin = dir() + "/bin";
    mkdir(bin.c_str(), 0777);
    const std::string program = bin + "/lumadisc-config";
    std::ofstream(program) << "#!/bin/sh\necho \"run in $(basename \"$PWD\")\" >> ../config-runs\n";
    chmod(program.c_str(), 0755);
    const std::string path = bin + ":" + std::getenv("PATH");
    setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(api().configure(), 0);
    EXPECT_EQ(configRuns(dir()), 1);
    EXPECT_EQ(host::readFile(dir() + "/config-runs"), "run in configs\n");
}

}  // namespace
}  // namespace lumadisc::e2e
