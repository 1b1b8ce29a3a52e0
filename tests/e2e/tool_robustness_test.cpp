// The lumadisc tool on file-system trouble and when it is stopped: a clear message and exit code 1,
// never an abort; nothing left in its temporary directory; an output file that is either complete or
// untouched.
#include <fcntl.h>
#include <sys/stat.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "host/scratch_dir.h"
#include "tests/e2e/tool_runner.h"
#include "tools/fixtures/demo_disc.h"


namespace lumadisc::e2e {
namespace {

namespace fs = std::filesystem;

// The settings line "current = <path>" may be 1022 characters long.
constexpr size_t kLongestStorablePath = 1022 - 10;

class ToolRobustness : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(scratch_.ok());
        // The tool makes its scratch directories under $TMPDIR: a directory of the test's own shows
        // whatever it leaves behind.
        toolTemp_ = scratch_.file("tmp");
        fs::create_directory(toolTemp_);
        const char* previous = std::getenv("TMPDIR");
        previousTemp_ = previous ? previous : "";
        setenv("TMPDIR", toolTemp_.c_str(), 1);
    }
    void TearDown() override {
        if (previousTemp_.empty()) {
            unsetenv("TMPDIR");
        } else {
            setenv("TMPDIR", previousTemp_.c_str(), 1);
        }
    }

    std::vector<std::string> leftInTemp() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(toolTemp_)) names.push_back(entry.path().filename());
        return names;
    }

    // A directory below the scratch directory whose path is exactly `length` characters long, made of
    // components of at most 200 characters.
    std::string directoryOfLength(size_t length) {
        std::string path = scratch_.file("deep");
        while (path.size() < length) {
            const size_t left = length - path.size();
            size_t part = std::min<size_t>(200, left - 1);
            if (left - 1 - part == 1) --part;  // never leave a lone '/' for the last component
            path += '/';
            path.append(part, 'd');
        }
        fs::create_directories(path);
        return path;
    }

    host::ScratchDir scratch_{"lumadisc-robust"};
    std::string toolTemp_;
    std::string previousTemp_;
};

TEST_F(ToolRobustness, FileSystemTroubleEndsInAMessageAndLeavesNothingBehind) {
    std::string error;
    ASSERT_TRUE(fixtures::writeDemoDisc(scratch_.file("demo"), &error)) << error;
    const std::string demo = scratch_.file("demo/demo.cue");
    const std::string longName = scratch_.file(std::string(300, 'n') + ".cue");
    const std::string loop = scratch_.file("loop.cue");
    fs::create_symlink("loop.cue", loop);
    const std::string newline = scratch_.file("two\nlines.cue");
    std::ofstream(newline) << "FILE \"demo.bin\" BINARY\n";
    const std::string unquotable = scratch_.file("say \"hi\"; bye.cue");
    std::ofstream(unquotable) << "FILE \"demo.bin\" BINARY\n";
    const std::string trailingBlank = scratch_.file("blank.cue ");
    std::ofstream(trailingBlank) << "FILE \"demo.bin\" BINARY\n";
    const std::string bad = scratch_.file("disc.xyz");
    std::ofstream(bad) << "not a disc\n";
    // The demo disc where its path just fits a settings line, and one character deeper where it does not.
    const std::string fits = directoryOfLength(kLongestStorablePath - 9) + "/demo.cue";
    ASSERT_TRUE(fixtures::writeDemoDisc(fs::path(fits).parent_path(), &error)) << error;
    const std::string tooLong = directoryOfLength(kLongestStorablePath - 8) + "/demo.cue";
    ASSERT_TRUE(fixtures::writeDemoDisc(fs::path(tooLong).parent_path(), &error)) << error;
    ASSERT_EQ(fits.size(), kLongestStorablePath);
    // An output file the user already has; a failed run must leave it as it is.
    const std::string kept = scratch_.file("kept.bin");
    std::ofstream(kept) << "keep me";
    const std::string fresh = scratch_.file("fresh.bin");

    struct Case {
        std::vector<std::string> arguments;
        int exitCode;
        std::string inErr;
    };
    const Case cases[] = {
        {{"info", longName}, 1, "File name too long"},
        {{"info", loop}, 1, "Too many levels of symbolic links"},
        {{"ls", longName}, 1, "File name too long"},
        {{"info", newline}, 1, "cannot be stored in the plugin's settings file: it holds a line break"},
        {{"info", tooLong}, 1, "would be 1023 characters long, and the settings file takes lines of at most 1022"},
        {{"info", unquotable}, 1, "holds a '\"' together with ';' or '#'"},
        {{"info", trailingBlank}, 1, "ends in a blank"},
        {{"info", fits}, 0, ""},
        {{"make-demo", scratch_.file(std::string(300, 'm'))}, 1, "cannot write the demo disc"},
        // --raw: nothing is created or truncated unless every sector was read and written.
        {{"read", bad, "0", "4", "--raw", kept}, 1, "could not open"},
        {{"read", scratch_.file("missing.cue"), "0", "4", "--raw", fresh}, 1, "no such file"},
        {{"read", demo, "0", "4", "--raw", scratch_.file("no/such/dir/raw.bin")}, 1, "No such file or directory"},
        {{"read", demo, "0", "4", "--raw", scratch_.file(std::string(300, 'r'))}, 1, "File name too long"},
        {{"play", demo, "2", "--wav", scratch_.file(std::string(300, 'w') + "/x.wav")}, 1, "File name too long"},
    };
    for (const Case& c : cases) {
        std::string joined;
        for (const auto& word : c.arguments) joined.append(" ").append(word, 0, 60);
        SCOPED_TRACE("lumadisc" + joined);
        const ToolResult run = runLumadisc(scratch_, c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << describeRun(run);
        EXPECT_NE(run.err.find(c.inErr), std::string::npos) << describeRun(run);
        EXPECT_EQ(run.err.find("terminate called"), std::string::npos) << describeRun(run);
        EXPECT_TRUE(leftInTemp().empty()) << "left behind: " << leftInTemp().front();
    }
    EXPECT_EQ(host::readFile(kept), "keep me");
    EXPECT_FALSE(fs::exists(fresh));
    for (const auto& entry : fs::directory_iterator(scratch_.path()))
        EXPECT_EQ(entry.path().filename().string().find(".partial-"), std::string::npos) << entry.path();

    // A run that succeeds replaces the file whole.
    const ToolResult run = runLumadisc(scratch_, {"read", demo, "16", "2", "--raw", kept});
    ASSERT_EQ(run.exitCode, 0) << describeRun(run);
    EXPECT_EQ(host::readFile(kept).size(), 2u * kRawSectorSize);
}

TEST_F(ToolRobustness, AStoppedToolRemovesItsScratchDirectory) {
    std::string error;
    ASSERT_TRUE(fixtures::writeDemoDisc(scratch_.file("demo"), &error)) << error;
    const std::string wav = scratch_.file("played.wav");
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal == SIGINT ? "SIGINT" : "SIGTERM");
        // CD audio plays in real time: the 4-second track keeps the tool busy until the signal.
        const pid_t pid = spawnLumadisc({"play", scratch_.file("demo/demo.cue"), "2", "--wav", wav});
        ASSERT_GT(pid, 0);

        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (leftInTemp().empty() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_FALSE(leftInTemp().empty()) << "the tool made no scratch directory";
        std::this_thread::sleep_for(std::chrono::milliseconds(500));  // well into the track
        kill(pid, signal);
        int status = 0;
        while (waitpid(pid, &status, WNOHANG) == 0) {
            if (std::chrono::steady_clock::now() > deadline + std::chrono::seconds(5)) {
                kill(pid, SIGKILL);
                waitpid(pid, &status, 0);
                ADD_FAILURE() << "the tool did not end after the signal";
                break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        ASSERT_TRUE(WIFEXITED(status)) << "status " << status;
        EXPECT_EQ(WEXITSTATUS(status), 128 + signal);
        EXPECT_TRUE(leftInTemp().empty()) << "left behind: " << leftInTemp().front();
    }
}

}  // namespace
}  // namespace lumadisc::e2e

namespace lumadisc::e2e {
namespace {

// --raw to something that is not a regular file (a pipe here, /dev/null for a user) writes into it
// and never replaces it with a file of its own.
TEST_F(ToolRobustness, RawOutputIntoAPipeWritesThroughIt) {
    std::string error;
    ASSERT_TRUE(fixtures::writeDemoDisc(scratch_.file("demo"), &error)) << error;
    const std::string pipe = scratch_.file("raw.pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::string received;
    std::thread reader([&] {
        std::ifstream in(pipe, std::ios::binary);
        received.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    });
    const ToolResult run = runLumadisc(scratch_, {"read", scratch_.file("demo/demo.cue"), "16", "4", "--raw", pipe});
    reader.join();
    EXPECT_EQ(run.exitCode, 0) << describeRun(run);
    EXPECT_EQ(received.size(), 4u * kRawSectorSize);
    struct stat status {};
    ASSERT_EQ(stat(pipe.c_str(), &status), 0);
    EXPECT_TRUE(S_ISFIFO(status.st_mode)) << "the pipe was replaced by a file";
}

}  // namespace
}  // namespace lumadisc::e2e
