// Hostile files at every path the plugin opens: a FIFO where the disc, a data file, a companion file
// or the settings file belongs. The open must come back at once (the test bounds it at a second) and
// name the path in the log; an open that waits for a writer would hang the emulator.
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <thread>

#include "tests/e2e/plugin_harness.h"
#include "tools/fixtures/chd_image.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/image_builder.h"
#include "tools/fixtures/image_descriptions.h"
#include "tools/fixtures/sector.h"

namespace lumadisc::e2e {
namespace {

using namespace std::chrono_literals;
using fixtures::ImageKind;

struct FifoCase {
    const char* name;
    // Writes the disc into dir and returns {the disc path, the path to turn into a FIFO}.
    std::function<std::pair<std::string, std::string>(const std::string& dir)> write;
    bool named = true;  // the log names the FIFO (not for the settings file: the log is not open yet)
};

std::pair<std::string, std::string> cue(const std::string& dir, const char* fifoExtension) {
    fixtures::CueImageBuilder builder;
    builder.addDataTrack(30).addAudioTrack(20);
    fixtures::CueImage image;
    builder.write(dir, "disc", &image, nullptr);
    return {image.cuePath, dir + "/disc" + fifoExtension};
}

std::pair<std::string, std::string> described(const std::string& dir, ImageKind kind, bool data) {
    fixtures::ImageBuilder builder;
    builder.addDataTrack(30).addAudioTrack(20);
    fixtures::WrittenImage image;
    builder.write(dir, "disc", kind, &image, nullptr);
    return {image.imagePath, data ? image.dataPath : image.imagePath};
}

const FifoCase kCases[] = {
    {"sheet", [](const std::string& d) { return cue(d, ".cue"); }},
    {"sheet_data_file", [](const std::string& d) { return cue(d, ".bin"); }},
    {"sheet_name_fallback", [](const std::string& d) {
         // The sheet names a file that is not there; the sheet's own name with .bin is tried.
         auto paths = cue(d, ".bin");
         fixtures::writeText(d + "/disc.cue", "FILE \"gone.bin\" BINARY\n  TRACK 01 MODE2/2352\n    INDEX 01 00:00:00\n",
                             nullptr);
         return paths;
     }},
    {"subchannel_file", [](const std::string& d) { return cue(d, ".sub"); }},
    {"sbi_patch", [](const std::string& d) { return cue(d, ".sbi"); }},
    {"lsd_patch", [](const std::string& d) { return cue(d, ".lsd"); }},
    {"ppf_patch", [](const std::string& d) { return cue(d, ".ppf"); }},
    {"clonecd_control", [](const std::string& d) { return described(d, ImageKind::kClonecd, false); }},
    {"clonecd_image", [](const std::string& d) { return described(d, ImageKind::kClonecd, true); }},
    {"mds_descriptor", [](const std::string& d) { return described(d, ImageKind::kMds, false); }},
    {"mds_data", [](const std::string& d) { return described(d, ImageKind::kMds, true); }},
    {"full_toc", [](const std::string& d) { return described(d, ImageKind::kFullToc, false); }},
    {"full_toc_data", [](const std::string& d) { return described(d, ImageKind::kFullToc, true); }},
    {"compressed_image", [](const std::string& d) { return std::pair{d + "/disc.chd", d + "/disc.chd"}; }},
    {"executable", [](const std::string& d) { return std::pair{d + "/game.exe", d + "/game.exe"}; }},
    {"settings_file",
     [](const std::string& d) {
         auto paths = cue(d, ".bin");
         return std::pair{paths.first, d + "/configs/lumaDisc.ini"};
     },
     false},
};

class HostileFiles : public PluginHarness {};

TEST_F(HostileFiles, AFifoAtEveryPathThePluginOpensIsRefusedAtOnce) {
    for (const FifoCase& c : kCases) {
        SCOPED_TRACE(c.name);
        const std::string dir = scratch_.file(c.name);
        fixtures::makeDirectories(dir + "/configs", nullptr);
        const auto [disc, fifo] = c.write(dir);
        std::string error;
        ASSERT_TRUE(fixtures::writePluginIni(dir, settingsFor(disc), &error)) << error;
        ::unlink(fifo.c_str());
        ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0) << fifo;

        // The open runs in a child, so that a blocking open fails the test instead of hanging it.
        const auto started = std::chrono::steady_clock::now();
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            if (chdir(dir.c_str()) != 0) _exit(3);
            api().init();
            const long opened = api().open();
            api().close();
            api().shutdown();
            _exit(opened == 0 ? 0 : 1);
        }
        int status = 0;
        while (waitpid(child, &status, WNOHANG) == 0 && std::chrono::steady_clock::now() - started < 5s)
            std::this_thread::sleep_for(10ms);
        const auto elapsed = std::chrono::steady_clock::now() - started;
        if (waitpid(child, &status, WNOHANG) == 0) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            ADD_FAILURE() << "the open blocked on the FIFO " << fifo;
            continue;
        }
        EXPECT_LT(elapsed, 1s);
        EXPECT_TRUE(WIFEXITED(status)) << "the plugin ended the process";
        if (c.named) {
            const std::string log = host::readFile(dir + "/lumaDisc.log");
            EXPECT_NE(log.find(fifo), std::string::npos) << log;
        }
    }
}

TEST_F(HostileFiles, ACompressedImageWhoseMetadataPointsAtItselfIsRefusedAtOnce) {
    if (!fixtures::chdmanInstalled()) GTEST_SKIP() << "chdman (mame-tools) is not installed";
    fixtures::CueImage image;
    // A disc chdman 0.251 reads back whole (it does not, for most others).
    const auto mixed = [](Lba lba, int32_t, fixtures::Sector& s) { s = fixtures::mixedDataSector(lba); };
    ASSERT_TRUE(fixtures::CueImageBuilder().addDataTrack(301, mixed).addAudioTrack(300).write(dir(), "disc", &image, nullptr));
    const std::string chd = dir() + "/disc.chd";
    std::string error;
    ASSERT_TRUE(fixtures::writeChd(image.cuePath, chd, {}, &error)) << error;
    // The first metadata entry's "next" (bytes 8..15 of its header) is made its own offset.
    std::string bytes = host::readFile(chd);
    ASSERT_GT(bytes.size(), 56u);
    uint64_t offset = 0;
    for (int i = 0; i < 8; ++i) offset = offset << 8 | static_cast<uint8_t>(bytes[48 + i]);
    ASSERT_LT(offset + 16, bytes.size());
    for (int i = 0; i < 8; ++i) bytes[offset + 8 + i] = static_cast<char>(offset >> (56 - 8 * i));
    ASSERT_TRUE(fixtures::writeBytes(chd, std::vector<uint8_t>(bytes.begin(), bytes.end()), nullptr));
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(openWith(settingsFor(chd)), -1);
    EXPECT_LT(std::chrono::steady_clock::now() - started, 1s);
    closePlugin();
    EXPECT_NE(log().find("metadata list loops back on itself"), std::string::npos) << log();
}

TEST_F(HostileFiles, AHugePatchIsNeitherReadWholeNorWalkedAtEveryOpen) {
    const fixtures::CueImage image = writeCue(fixtures::CueImageBuilder().addDataTrack(30));
    // 600 MB, sparse: a PPF3 header and nothing behind it.
    const std::string patch = dir() + "/disc.ppf";
    ASSERT_TRUE(fixtures::writeText(patch, "PPF30\x02", nullptr));
    ASSERT_EQ(truncate(patch.c_str(), 600LL << 20), 0);
    const auto started = std::chrono::steady_clock::now();
    ASSERT_EQ(openWith(settingsFor(image.cuePath)), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - started, 2s);
    closePlugin();
    EXPECT_NE(log().find("[CDR] Error: ppf patch larger than 256 MB (" + patch + "), not used.\n"), std::string::npos)
        << log();
}

TEST_F(HostileFiles, DescriptionsThatDescribeNoDiscAreRefusedWithTheirReason) {
    std::vector<uint8_t> noise(100000);
    uint32_t state = 12345;
    for (uint8_t& byte : noise) byte = static_cast<uint8_t>((state = state * 1103515245 + 12345) >> 24);
    noise[0] = 0x01;  // a length field that covers the file: only the descriptors can tell
    noise[1] = 0x2C;
    std::vector<fixtures::FullTocEntry> many;
    for (int i = 0; i < 300; ++i)
        many.push_back({1, 0x14, static_cast<uint8_t>(1 + i % 99), Msf{static_cast<uint8_t>(i / 60), static_cast<uint8_t>(i % 60), 0}});
    const std::string bin = "FILE \"disc.bin\" BINARY\n";
    const struct { const char* name; std::string file; std::vector<uint8_t> bytes; std::string text, line; } cases[] = {
        {"random bytes as a full TOC", "disc.toc", noise, "", "): not a table of contents.\n"},
        {"300 track descriptors", "disc.toc", fixtures::fullTocBytes(many), "", "tracks, more than a disc holds (99)"},
        {"a text TOC whose INDEX times go back", "disc.toc", {},
         "CD_DA\nTRACK AUDIO\nFILE \"disc.bin\" 0 00:02:00\nINDEX 00:01:00\nINDEX 00:00:50\n", "INDEX times go back"},
        {"a text TOC naming itself as its data", "disc.toc", {}, "CD_ROM\nTRACK MODE1_RAW\nDATAFILE \"disc.toc\"\n",
         "the TOC names itself as a data file"},
        {"a sheet with two tracks at one position", "disc.cue", {},
         bin + "  TRACK 01 MODE2/2352\n    INDEX 01 00:00:00\n  TRACK 02 AUDIO\n    INDEX 01 00:00:00\n", "a track without sectors"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string dir = scratch_.file(std::to_string(&c - cases));
        fixtures::makeDirectories(dir, nullptr);
        fixtures::writeBytes(dir + "/disc.bin", std::vector<uint8_t>(2352 * 200, 0), nullptr);
        if (c.text.empty()) fixtures::writeBytes(dir + "/" + c.file, c.bytes, nullptr);
        else fixtures::writeText(dir + "/" + c.file, c.text, nullptr);
        const auto started = std::chrono::steady_clock::now();
        EXPECT_EQ(openWith(settingsFor(dir + "/" + c.file)), -1);
        EXPECT_LT(std::chrono::steady_clock::now() - started, 2s);
        closePlugin();
        EXPECT_NE(log().find(c.line), std::string::npos) << log();
    }
}

}  // namespace
}  // namespace lumadisc::e2e
