// Starting the configuration program: where it is looked for, its working directory, the wait for
// its end, and programs that cannot be found or started.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <set>
#include <string>
#include <vector>

#include "config/config_program.h"
#include "config/log.h"
#include "config/settings.h"
#include "tests/unit/scratch_directory.h"

namespace lumadisc {
namespace {

using unit::readWholeFile;
using unit::writeWholeFile;

void writeScript(const std::string& path, const std::string& body) {
    writeWholeFile(path, "#!/bin/sh\n" + body + "\n");
    chmod(path.c_str(), 0755);
}

class ConfigProgram : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(scratch_.ok());
        mkdir("configs", 0777);
        mkdir("bin", 0777);
        const char* path = std::getenv("PATH");
        savedPath_ = path != nullptr ? path : "";
        setenv("PATH", (scratch_.path() + "/bin:" + savedPath_).c_str(), 1);
        settingSetLive(g_settings.enablelogging, 1);
        logOpen("./lumaDisc.log");
    }
    void TearDown() override {
        logClose();
        settingSetLive(g_settings.enablelogging, 0);
        setenv("PATH", savedPath_.c_str(), 1);
    }

    unit::ScratchDirectory scratch_;
    std::string savedPath_;
};

TEST_F(ConfigProgram, RunsInItsWorkingDirectoryAndIsWaitedFor) {
    writeScript("configs/lumadisc-config", "sleep 0.3; pwd > ran-in; echo configs >> ../runs");
    writeScript("bin/lumadisc-config", "echo path >> runs");
    const auto start = std::chrono::steady_clock::now();
    runConfigProgram("configs");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300)) << "waited for its end";
    EXPECT_EQ(readWholeFile("configs/ran-in"), scratch_.path() + "/configs\n");
    EXPECT_EQ(readWholeFile("runs"), "configs\n") << "the working directory comes before $PATH";
}

// The places are asked in order; the runner stands in for the file system and the plugin's location.
struct FakeRunner : ProcessRunner {
    std::set<std::string> files;
    std::vector<std::string> asked;
    bool runnable(const std::string& path) override {
        asked.push_back(path);
        return files.count(path) != 0;
    }
    bool runAndWait(const std::string&, const char*, std::string*) override { return true; }
    std::string ownDirectory() override { return "/opt/emulator/plugins"; }
};

TEST_F(ConfigProgram, IsLookedUpInTheWorkingDirectoryThenBesideThePluginThenOnPath) {
    const std::string onPath = scratch_.path() + "/bin/lumadisc-config";
    const struct {
        std::set<std::string> files;
        std::string found;
    } cases[] = {
        {{}, ""},
        {{onPath}, onPath},
        {{onPath, "/opt/emulator/plugins/lumadisc-config"}, "/opt/emulator/plugins/lumadisc-config"},
        {{onPath, "/opt/emulator/plugins/lumadisc-config", "configs/lumadisc-config"}, "configs/lumadisc-config"},
    };
    FakeRunner runner;
    useProcessRunner(&runner);
    for (const auto& c : cases) {
        runner.files = c.files;
        EXPECT_EQ(findConfigProgram("configs"), c.found);
    }
    runner.files.clear();
    runner.asked.clear();
    runConfigProgram("configs");
    useProcessRunner(nullptr);
    ASSERT_GE(runner.asked.size(), 3u);
    EXPECT_EQ(runner.asked[0], "configs/lumadisc-config");
    EXPECT_EQ(runner.asked[1], "/opt/emulator/plugins/lumadisc-config");
    EXPECT_EQ(runner.asked[2], onPath);
    EXPECT_NE(readWholeFile("lumaDisc.log").find("[CDR] Error: configuration program not found (lumadisc-config).\n"),
              std::string::npos);
}

TEST_F(ConfigProgram, AProgramThatCannotBeStartedIsNotWaitedFor) {
    // Found on $PATH, but its interpreter does not exist.
    writeWholeFile("bin/lumadisc-config", "#!/no/such/shell\necho ran >> runs\n");
    chmod("bin/lumadisc-config", 0755);
    runConfigProgram("configs");
    EXPECT_FALSE(unit::fileExists("runs"));
    EXPECT_NE(readWholeFile("lumaDisc.log").find("[CDR] Error: configuration program not started ("),
              std::string::npos);
}

}  // namespace
}  // namespace lumadisc
