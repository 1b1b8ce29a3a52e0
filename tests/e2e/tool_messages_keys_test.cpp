// lumadisc messages and lumadisc keys as a user runs them: the reader finds the running plugin's
// message file, prints its lines in order, empties it and loses nothing between reads; the key
// capture names what is pressed on a virtual X server and prints the string for the settings file.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/e2e/hot_key_support.h"
#include "tests/e2e/tool_runner.h"

namespace lumadisc::e2e {
namespace {

using namespace std::chrono_literals;

class ToolMessages : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(scratch_.ok());
        environment_.set("TMP", scratch_.path());
    }
    // The message file a plugin in process pid would have, holding text.
    std::string messageFile(pid_t pid, const std::string& text) {
        const std::string directory = scratch_.path() + "/qorvin/" + std::to_string(pid);
        mkdir((scratch_.path() + "/qorvin").c_str(), 0777);
        mkdir(directory.c_str(), 0777);
        std::ofstream(directory + "/cdr.messages") << text;
        return directory + "/cdr.messages";
    }
    void append(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::app) << text; }

    host::ScratchDir scratch_{"lumadisc-messages"};
    EnvironmentOverride environment_;
};

pid_t endedProcess() {
    const pid_t child = fork();
    if (child == 0) _exit(0);
    waitpid(child, nullptr, 0);
    return child;
}

TEST_F(ToolMessages, PrintsTheLinesInOrderEmptiesTheFileAndLosesNothingBetweenReads) {
    const std::string file = messageFile(getpid(), "CD-rom cover opened\nCD-rom cover closed\n");
    messageFile(endedProcess(), "left by a process that has ended\n");
    ToolResult run = runLumadisc(scratch_, {"messages"});
    ASSERT_EQ(run.exitCode, 0) << describeRun(run);
    EXPECT_EQ(run.out, "CD-rom cover opened\nCD-rom cover closed\n");
    EXPECT_EQ(host::readFile(file), "");
    append(file, "CD swapped\n");
    run = runLumadisc(scratch_, {"messages"});
    EXPECT_EQ(run.out, "CD swapped\n");
    run = runLumadisc(scratch_, {"messages"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "");
    std::filesystem::remove_all(scratch_.path() + "/qorvin/" + std::to_string(getpid()));
    run = runLumadisc(scratch_, {"messages"});
    EXPECT_EQ(run.exitCode, 1) << "only a stale file is left";
    EXPECT_NE(run.err.find("no running plugin has a message file"), std::string::npos) << run.err;
}

TEST_F(ToolMessages, ChoosesAmongSeveralPluginsByProcessId) {
    messageFile(getpid(), "mine\n");
    messageFile(getppid(), "my parent's\n");
    ToolResult run = runLumadisc(scratch_, {"messages"});
    EXPECT_EQ(run.exitCode, 2) << describeRun(run);
    EXPECT_NE(run.err.find(std::to_string(getpid())), std::string::npos) << run.err;
    run = runLumadisc(scratch_, {"messages", "--pid", std::to_string(getppid())});
    EXPECT_EQ(run.out, "my parent's\n");
    run = runLumadisc(scratch_, {"messages", "--pid", "999999999"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("has no message file"), std::string::npos) << run.err;
}

TEST_F(ToolMessages, FollowPrintsLinesAsTheyComeAcrossAReopenedDisc) {
    const std::string file = messageFile(getpid(), "first\n");
    ToolResult run;
    std::thread reader([&] { run = runLumadisc(scratch_, {"messages", "--follow", "--seconds", "2"}); });
    std::this_thread::sleep_for(400ms);
    append(file, "second\n");
    std::this_thread::sleep_for(400ms);
    std::filesystem::remove_all(scratch_.path() + "/qorvin/" + std::to_string(getpid()));  // the disc closed
    std::this_thread::sleep_for(300ms);
    messageFile(getpid(), "third\n");  // and opened again
    reader.join();
    EXPECT_EQ(run.exitCode, 0) << describeRun(run);
    EXPECT_EQ(run.out, "first\nsecond\nthird\n");
}

TEST(ToolKeys, NamesTheInputsAndPrintsTheCombinationString) {
    XvfbServer x;
    std::string why;
    if (!x.start(&why)) GTEST_SKIP() << why;
    host::ScratchDir scratch("lumadisc-keys");
    EnvironmentOverride environment;
    environment.set("DISPLAY", x.display());
    ToolResult run;
    std::thread tool([&] { run = runLumadisc(scratch, {"keys", "--count", "2", "--seconds", "10"}); });
    std::this_thread::sleep_for(700ms);
    x.press("Control_L Alt_L c", 300ms, 300ms);
    x.press("F9", 200ms, 300ms);
    tool.join();
    EXPECT_EQ(run.exitCode, 0) << describeRun(run);
    EXPECT_NE(run.out.find("keys through the X server"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("\nKb0_Control_Left + Alt_Left + 'C'\n0110004436\n"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("\nKb0_F9\n011000004b\n"), std::string::npos) << run.out;
}

}  // namespace
}  // namespace lumadisc::e2e
