// The lumadisc command-line tool as a user runs it: a child process with the built plugin, judged by
// its exit code, what it prints and the files it writes.
#include <sys/resource.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "host/scratch_dir.h"
#include "tests/e2e/tool_runner.h"
#include "tests/unit/shell_command.h"
#include "tools/fixtures/demo_disc.h"

namespace lumadisc::e2e {
namespace {

namespace demo = fixtures::demo_disc;

class Tool : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(scratch_.ok()); }

    // The demo disc written into the scratch directory; returns the sheet's path.
    std::string writeDemo() {
        std::string error;
        EXPECT_TRUE(fixtures::writeDemoDisc(scratch_.file("demo"), &error)) << error;
        return scratch_.file("demo/demo.cue");
    }

    host::ScratchDir scratch_{"lumadisc-tool"};
};

TEST_F(Tool, ExitCodesAndMessagesForUsageAndFailures) {
    {
        std::ofstream(scratch_.file("disc.xyz")) << "not a disc\n";
    }
    const std::string missing = scratch_.file("missing.cue");
    const std::string unknownKind = scratch_.file("disc.xyz");
    const std::string demoCue = writeDemo();
    struct Case { std::vector<std::string> arguments; int exitCode; std::vector<std::string> inOut, inErr, notInErr; };
    const Case cases[] = {
        {{"--help"}, 0, {"info [DISC]", "read DISC LBA [COUNT] [--raw FILE]", "make-demo DIR"}, {}, {}},
        {{}, 2, {}, {"usage: lumadisc"}, {}},
        {{"frobnicate"}, 2, {}, {"unknown command 'frobnicate'"}, {}},
        {{"read", demoCue, "sixteen"}, 2, {}, {"usage: lumadisc read"}, {}},
        {{"info", missing}, 1, {}, {missing + ": no such file"}, {}},
        {{"read", missing, "16"}, 1, {}, {missing + ": no such file"}, {}},
        // Without --log the tool says what failed and where to look, but shows no plugin lines.
        {{"info", unknownKind}, 1, {}, {"could not open " + unknownKind, "unknown (-1)"}, {"[CDR]"}},
        {{"--log", "info", unknownKind}, 1, {}, {"[CDR] Error: unknown cd type: -1.\n"}, {}},
    };
    for (const Case& c : cases) {
        std::string joined;
        for (const auto& word : c.arguments) joined += " " + word;
        SCOPED_TRACE("lumadisc" + joined);
        const ToolResult run = runLumadisc(scratch_, c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << describeRun(run);
        for (const auto& text : c.inOut) EXPECT_NE(run.out.find(text), std::string::npos) << describeRun(run);
        for (const auto& text : c.inErr) EXPECT_NE(run.err.find(text), std::string::npos) << describeRun(run);
        for (const auto& text : c.notInErr) EXPECT_EQ(run.err.find(text), std::string::npos) << describeRun(run);
    }
}

TEST_F(Tool, InfoListsTheDemoDiscTracks) {
    const ToolResult run = runLumadisc(scratch_, {"info"});
    ASSERT_EQ(run.exitCode, 0) << describeRun(run);
    EXPECT_NE(run.out.find("tracks:    2\n"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("lead-out:  00:12:00  LBA 750\n"), std::string::npos) << run.out;

    // The rows of the track list ("    1  data   00:02:00  0         450") with single spaces.
    std::string rows;
    for (const char c : run.out) {
        if (c != ' ' || rows.empty() || rows.back() != ' ') rows += c;
    }
    EXPECT_NE(rows.find("\n 1 data 00:02:00 0 " + std::to_string(demo::kAudioStart) + "\n"), std::string::npos) << run.out;
    EXPECT_NE(rows.find("\n 2 audio 00:08:00 " + std::to_string(demo::kAudioStart) + " " +
                        std::to_string(demo::kAudioSectors) + "\n"),
              std::string::npos)
        << run.out;
}

TEST_F(Tool, ReadShowsTheSectorHeaderAndWritesRawSectors) {
    const std::string cue = writeDemo();
    const ToolResult shown = runLumadisc(scratch_, {"read", cue, "16"});
    ASSERT_EQ(shown.exitCode, 0) << describeRun(shown);
    EXPECT_NE(shown.out.find("\n  header     00 02 16 02\n"), std::string::npos) << shown.out;

    const std::string raw = scratch_.file("raw.bin");
    const ToolResult written =
        runLumadisc(scratch_, {"read", cue, "0", std::to_string(demo::kTotalSectors), "--raw", raw});
    ASSERT_EQ(written.exitCode, 0) << describeRun(written);
    const std::string bin = host::readFile(scratch_.file("demo/demo.bin"));
    ASSERT_EQ(bin.size(), static_cast<size_t>(demo::kTotalSectors) * kRawSectorSize);
    EXPECT_TRUE(host::readFile(raw) == bin) << "the raw sectors differ from demo.bin";
}

TEST_F(Tool, InfoStaysWithinItsMemoryBound) {
    // A resource bound, not a speed one: opening the demo disc with the default caching level must not
    // make the whole cache resident.
#ifdef LUMADISC_SANITIZED
    GTEST_SKIP() << "a sanitizer's shadow memory makes resident sizes meaningless";
#endif
    constexpr long kBoundKb = 64 * 1024;
    const ToolResult run = runLumadisc(scratch_, {"info"});
    ASSERT_EQ(run.exitCode, 0) << describeRun(run);
    // ru_maxrss also carries the high-water mark of the memory the child had before exec, which is
    // this test process's: the figure is the larger of the tool's peak and this process's peak.
    struct rusage self {};
    getrusage(RUSAGE_SELF, &self);
    std::cout << "[ measured ] lumadisc info peak resident size: " << run.peakResidentKb
              << " KiB (this test process: " << self.ru_maxrss << " KiB)" << std::endl;
    RecordProperty("peak_resident_kib", static_cast<int>(run.peakResidentKb));
    EXPECT_GT(run.peakResidentKb, 0);
    if (run.peakResidentKb >= kBoundKb && self.ru_maxrss >= run.peakResidentKb)
        GTEST_SKIP() << "this process already peaked at " << self.ru_maxrss
                     << " KiB, which hides the tool's own figure; run the test in a process of its own";
    EXPECT_LT(run.peakResidentKb, kBoundKb);
}

TEST(ToolHelp, EveryCommandsSynopsisStandsInTheReadmeAsTheToolPrintsIt) {
    int status = 0;
    const std::string help = test::shellOutput(test::shellWord(LUMADISC_TOOL_PATH) + " --help", &status);
    ASSERT_EQ(status, 0);
    const std::string readme = host::readFile(std::string(LUMADISC_SOURCE_DIR) + "/README.md");
    std::istringstream lines(help.substr(help.find("commands:\n") + 10, help.find("\n\nWithout") - help.find("commands:\n") - 10));
    int seen = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.size() < 3 || line[2] == ' ') continue;  // a description's continuation
        const std::string synopsis = line.substr(2, line.find("   ", 2) == std::string::npos ? std::string::npos : line.find("   ", 2) - 2);
        EXPECT_NE(readme.find("lumadisc " + synopsis), std::string::npos) << "README lacks: lumadisc " << synopsis;
        ++seen;
    }
    EXPECT_EQ(seen, 13) << help;
    // One list of exit codes: the README quotes the tool's.
    EXPECT_NE(readme.find("3 rip finished with unreadable sectors"), std::string::npos);
}

}  // namespace
}  // namespace lumadisc::e2e
