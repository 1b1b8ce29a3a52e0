// The lumadisc tool on the emulated drive: the track table, a console boot and CD audio as from the
// image behind it, `drives`, and `rip` with its retries, unreadable sectors and interruption.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include "tests/drive/emulated_drive.h"
#include "tests/e2e/tool_runner.h"
#include "tools/fixtures/demo_disc.h"


namespace lumadisc::drive_test {
namespace {

using e2e::describeRun;
using e2e::runLumadisc;

// What a command prints from its third line on: the first two name the disc and its kind.
std::string afterDiscLines(const std::string& out) {
    size_t at = 0;
    for (int line = 0; line < 2 && at != std::string::npos; ++line) at = out.find('\n', at + 1);
    return at == std::string::npos ? std::string() : out.substr(at + 1);
}

class DriveTool : public DriveHarness {
protected:
    std::string rip(const std::string& name) const { return scratch_.file(name); }
    std::string fileText(const std::string& path) const { return host::readFile(path); }
};

TEST_F(DriveTool, InfoBootAndPlaySeeTheImageBehindTheDrive) {
    std::string error;
    ASSERT_TRUE(fixtures::writeDemoDisc(scratch_.file("demo"), &error)) << error;
    configure({.image = scratch_.file("demo/demo.cue")});
    for (const char* command : {"info", "boot"}) {
        SCOPED_TRACE(command);
        const e2e::ToolResult fromImage = runLumadisc(scratch_, {command, scratch_.file("demo/demo.cue")});
        const e2e::ToolResult fromDrive = runLumadisc(scratch_, {command, kDevice});
        ASSERT_EQ(fromImage.exitCode, 0) << describeRun(fromImage);
        ASSERT_EQ(fromDrive.exitCode, 0) << describeRun(fromDrive);
        EXPECT_NE(fromDrive.out.find("physical drive (3)"), std::string::npos) << fromDrive.out;
        EXPECT_EQ(afterDiscLines(fromDrive.out), afterDiscLines(fromImage.out));
    }
    // CD audio: the player streams the tone of track 2 from the drive as from the image.
    const std::string imageWav = scratch_.file("image.wav"), driveWav = scratch_.file("drive.wav");
    for (const auto& [disc, wav] : {std::pair{scratch_.file("demo/demo.cue"), imageWav}, std::pair{std::string(kDevice), driveWav}}) {
        const e2e::ToolResult run = runLumadisc(scratch_, {"play", disc, "2", "--seconds", "1", "--wav", wav});
        ASSERT_EQ(run.exitCode, 0) << describeRun(run);
    }
    // The output starts after a number of silent periods that depends on timing: compare from the tone on.
    const auto tone = [](const std::string& wave) {
        const size_t data = wave.find("data");
        const size_t first = data == std::string::npos ? std::string::npos : wave.find_first_not_of('\0', data + 8);
        return first == std::string::npos ? std::string() : wave.substr(first - (first - data - 8) % 4);
    };
    const std::string fromImage = tone(fileText(imageWav)), fromDrive = tone(fileText(driveWav));
    // Where the second ends depends on timing too: three quarters of it are compared.
    const size_t compared = 44100u * 4 * 3 / 4;
    ASSERT_GE(std::min(fromImage.size(), fromDrive.size()), compared);
    EXPECT_TRUE(fromImage.compare(0, compared, fromDrive, 0, compared) == 0);
}

TEST_F(DriveTool, DrivesShowsIdentityAndDisc) {
    const std::string notADrive = scratch_.file("plainfile");
    std::FILE* file = std::fopen(notADrive.c_str(), "w");
    ASSERT_NE(file, nullptr);
    std::fclose(file);
    struct Case {
        DriveSetup setup;
        std::string path;
        int exitCode;
        std::string out, err;
    };
    const std::string device = kDevice;
    for (const Case& c : {Case{{}, device, 0, device + "  LUMADISC EMULATED DRIVE (revision 1.00)  disc in the drive\n", ""},
                          Case{{.noMedium = true}, device, 0, device + "  LUMADISC EMULATED DRIVE (revision 1.00)  no disc\n", ""},
                          Case{{}, notADrive, 1, "",
                               "lumadisc: " + notADrive + ": not an optical drive\nlumadisc: no optical drive found\n"}}) {
        configure(c.setup);
        const e2e::ToolResult run = runLumadisc(scratch_, {"drives", c.path});
        EXPECT_EQ(run.exitCode, c.exitCode) << describeRun(run);
        EXPECT_EQ(run.out, c.out);
        EXPECT_EQ(run.err, c.err) << "errors go to standard error";
    }
    // An ordinary file without an extension is no drive to open either.
    const e2e::ToolResult info = runLumadisc(scratch_, {"info", notADrive});
    EXPECT_EQ(info.exitCode, 1);
    EXPECT_NE(info.err.find("kind: unknown (-1)"), std::string::npos) << info.err;
}

TEST_F(DriveTool, RipCopiesEverySectorAndTheSubchannel) {
    const e2e::ToolResult run = runLumadisc(scratch_, {"rip", kDevice, rip("copy.cue"), "--sub"});
    ASSERT_EQ(run.exitCode, 0) << describeRun(run);
    EXPECT_EQ(fileText(rip("copy.bin")), fileText(image_.binPath));
    EXPECT_EQ(fileText(rip("copy.sub")), fileText(image_.subPath));
    // The copy opens through the plugin as an image with the drive's track table.
    const e2e::ToolResult copy = runLumadisc(scratch_, {"info", rip("copy.cue")});
    const e2e::ToolResult drive = runLumadisc(scratch_, {"info", kDevice});
    ASSERT_EQ(copy.exitCode, 0) << describeRun(copy);
    EXPECT_EQ(afterDiscLines(copy.out), afterDiscLines(drive.out));
    for (const auto& entry : std::filesystem::directory_iterator(dir()))
        EXPECT_NE(entry.path().extension(), ".part") << entry.path();
}

TEST_F(DriveTool, RipRetriesAndReportsUnreadableSectors) {
    // Sectors 40 and 41 never read, 50 reads at the third attempt; the drive has no subchannel to give.
    configure({.image = image_.cuePath, .faults = "BE@40-41=3/11/00,BE@50x2=3/11/06"});
    std::filesystem::remove(image_.subPath);
    const e2e::ToolResult run = runLumadisc(scratch_, {"rip", kDevice, rip("copy.cue"), "--sub"});
    ASSERT_EQ(run.exitCode, 3) << describeRun(run);
    for (const char* line : {"sectors read after retries: 1\n", "unreadable sectors: 2 ",
                             "  LBA 40 (00:02:40): Medium error, Unrecovered read error (3/11/00)\n",
                             "  LBA 41 (00:02:41): Medium error, Unrecovered read error (3/11/00)\n"})
        EXPECT_NE(run.out.find(line), std::string::npos) << line << "\n" << describeRun(run);
    EXPECT_NE(run.err.find("no .sub is written"), std::string::npos) << run.err;
    EXPECT_FALSE(std::filesystem::exists(rip("copy.sub")));
    std::string expected = fileText(image_.binPath);
    expected.replace(40 * kRawSectorSize, 2 * kRawSectorSize, 2 * kRawSectorSize, '\0');
    EXPECT_TRUE(fileText(rip("copy.bin")) == expected) << "only the unreadable sectors differ, as zeros";

    configure({.image = image_.cuePath, .faults = "BE@50x4=3/11/06"});
    const e2e::ToolResult noRetry = runLumadisc(scratch_, {"rip", kDevice, rip("again.cue"), "--retries", "2"});
    EXPECT_EQ(noRetry.exitCode, 3) << describeRun(noRetry);
    EXPECT_NE(noRetry.out.find("LBA 50 (00:02:50): Medium error, CIRC unrecovered error (3/11/06)"), std::string::npos);
}

TEST_F(DriveTool, RipThatCannotFinishLeavesNothing) {
    // No disc: the table of contents cannot be read.
    configure({.noMedium = true});
    const e2e::ToolResult empty = runLumadisc(scratch_, {"rip", kDevice, rip("none.cue")});
    EXPECT_EQ(empty.exitCode, 1) << describeRun(empty);
    EXPECT_NE(empty.err.find("Not ready, Medium not present"), std::string::npos) << empty.err;

    // Interrupted half-way (every read takes a while, so there is time to press Ctrl-C), by Ctrl-C and by
    // a SIGTERM: 128 + the signal, and nothing left behind.
    configure({.delayMs = 5});
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        const std::string out = rip("stopped.cue");
        const pid_t child = e2e::spawnLumadisc({"rip", kDevice, out});
        ASSERT_GT(child, 0);
        const std::string part = rip("stopped.bin.part");
        for (int i = 0; i < 3000; ++i) {
            std::error_code missing;
            const auto size = std::filesystem::file_size(part, missing);
            if (!missing && size > 20 * kRawSectorSize) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        kill(child, signal);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 128 + signal);
        for (const auto& entry : std::filesystem::directory_iterator(dir()))
            EXPECT_EQ(entry.path().string().find("stopped"), std::string::npos) << entry.path();
    }
    for (const char* name : {"none.cue", "none.bin"}) EXPECT_FALSE(std::filesystem::exists(rip(name))) << name;
    // The drive was given back its speed and spin-down time on the way out.
    const auto commands = this->commands();
    ASSERT_GE(commands.size(), 3u);
    EXPECT_EQ(hexText(commands[commands.size() - 3].block), "BB 00 FF FF 00 00 00 00 00 00 00 00");
}

}  // namespace
}  // namespace lumadisc::drive_test
