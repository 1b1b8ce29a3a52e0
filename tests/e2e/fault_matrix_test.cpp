// The image file and the user's files failing under the plugin while a game runs: each fault is
// injected at the operating-system boundary into a whole host process that runs the real plugin, and
// each row says what the host gets, which log line says why, and that no file of the user's is hurt.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <csignal>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "host/scratch_dir.h"
#include "tests/e2e/plugin_harness.h"
#include "tests/unit/shell_command.h"
#include "tools/fixtures/ini_file.h"

namespace lumadisc::e2e {
namespace {

namespace fs = std::filesystem;

constexpr int kSectors = 40;
constexpr long long kSectorBytes = kRawSectorSize;

struct HostRun {
    int exitCode = -1;  // as the shell reports it: 128 + the signal for a host that was killed
    std::string out;
};

// Runs the fault host in `directory` with the shim preloaded and the given fault settings.
HostRun runHost(const std::string& directory, const std::map<std::string, std::string>& faults,
            const std::vector<std::string>& steps) {
    std::string command = "cd ";
    command.append(test::shellWord(directory)).append(" && env LD_PRELOAD=").append(test::shellWord(LUMADISC_FAULT_SHIM_PATH));
    command.append(" ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0 TSAN_OPTIONS=verify_asan_link_order=0");
    for (const auto& [name, value] : faults) command.append(" ").append(name).append("=").append(test::shellWord(value));
    command.append(" ").append(test::shellWord(LUMADISC_FAULT_HOST_PATH));
    command.append(" ").append(test::shellWord(LUMADISC_PLUGIN_PATH));
    for (const std::string& step : steps) command.append(" ").append(test::shellWord(step));
    const std::string outPath = directory + "/host.out";
    const int status = std::system((command + " >" + test::shellWord(outPath) + " 2>&1").c_str());
    HostRun run;
    if (status != -1 && WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
    run.out = host::readFile(outPath);
    return run;
}

std::string hex4(const std::vector<uint8_t>& sector) {
    char text[9];
    std::snprintf(text, sizeof text, "%02x%02x%02x%02x", sector[24], sector[25], sector[26], sector[27]);
    return text;
}

std::string errorText(int error) { return std::strerror(error); }

class FaultMatrix : public ::testing::Test {
protected:
    void SetUp() override {
        fixtures::CueImageBuilder builder;
        builder.addDataTrack(kSectors, [](Lba lba, int32_t, fixtures::Sector& s) { s = fixtures::patternSector(lba); });
        std::string error;
        ASSERT_TRUE(builder.write(scratch_.path(), "disc", &image_, &error)) << error;
    }
    // The settings: the disc, logging on, and the settings saved when the disc closes.
    void writeSettings() {
        fixtures::PluginIni ini = settingsFor(image_.cuePath, true);
        ini.playCdda = false;  // nothing here plays CD audio: no sound device is opened
        ini.extra.push_back({"misc", {"savesettingsonexit", "1"}});
        std::string error;
        ASSERT_TRUE(fixtures::writePluginIni(scratch_.path(), ini, &error)) << error;
    }
    std::string readLine(Lba lba, long result) {
        return "read " + std::to_string(lba) + " " + std::to_string(result) + " " +
               hex4(binSector(image_.binPath, lba)) + "\n";
    }
    std::string settingsPath() const { return scratch_.path() + "/configs/lumaDisc.ini"; }
    std::string log() const { return host::readFile(scratch_.path() + "/lumaDisc.log"); }

    host::ScratchDir scratch_{"lumadisc-faults"};
    fixtures::CueImage image_;
};

TEST_F(FaultMatrix, EveryFaultGivesTheDocumentedResultAndALogLineAndHurtsNoFile) {
    const std::string bin = image_.binPath;
    const std::string eio = std::to_string(EIO), enodev = std::to_string(ENODEV);
    struct Row {
        const char* fault;
        std::map<std::string, std::string> env;
        std::vector<std::string> steps;
        std::vector<std::string> hostSees;  // lines the host prints, in order
        std::string logLine;                // a line the log holds ("" none expected)
    };
    const std::vector<Row> rows = {
        {"an I/O error in the middle of the disc: that sector fails, the next reads",
         {{"LUMADISC_FAULT_FILE", "disc.bin"},
          {"LUMADISC_FAULT_READ", std::to_string(20 * kSectorBytes) + ":" + std::to_string(21 * kSectorBytes - 1) + ":" + eio}},
         {"open", "read:19", "read:20", "read:21", "close"},
         {"open 0\n", readLine(19, 0), "read 20 -1 ", readLine(21, 0), "closed\n"},
         "[CDR] Error: read failed at byte " + std::to_string(20 * kSectorBytes) + " (" + bin + "): " + errorText(EIO) + ".\n"},
        {"an I/O error a few sectors ahead of reads in order: only the sector that meets it fails",
         {{"LUMADISC_FAULT_FILE", "disc.bin"},
          {"LUMADISC_FAULT_READ", std::to_string(24 * kSectorBytes) + ":" + std::to_string(25 * kSectorBytes - 1) + ":" + eio}},
         {"open", "read:20", "read:21", "read:22", "read:23", "read:24", "read:25", "read:26", "close"},
         {"open 0\n", readLine(20, 0), readLine(21, 0), readLine(22, 0), readLine(23, 0), "read 24 -1 ", readLine(25, 0),
          readLine(26, 0), "closed\n"},
         "[CDR] Error: read failed at byte " + std::to_string(24 * kSectorBytes) + " (" + bin + "): " + errorText(EIO) + ".\n"},
        {"the removable disk is pulled out: every later read fails, the plugin still closes",
         {{"LUMADISC_FAULT_FILE", "disc.bin"}, {"LUMADISC_FAULT_READ", std::to_string(10 * kSectorBytes) + ":-1:" + enodev}},
         {"open", "read:9", "read:10", "read:30", "close"},
         {"open 0\n", readLine(9, 0), "read 10 -1 ", "read 30 -1 ", "closed\n"},
         "(" + bin + "): " + errorText(ENODEV) + ".\n"},
        {"short reads: the reader asks again until the sector is whole",
         {{"LUMADISC_FAULT_FILE", "disc.bin"}, {"LUMADISC_FAULT_SHORT", "1"}},
         {"open", "read:0", "read:17", "read:39", "close"},
         {"open 0\n", readLine(0, 0), readLine(17, 0), readLine(39, 0), "closed\n"},
         ""},
        {"the file shrinks while open: a sector past the new end fails (the buffer keeps the last sector), with a warning",
         {},
         {"open", "read:5", "truncate:" + bin + ":" + std::to_string(10 * kSectorBytes), "read:20", "read:6", "close"},
         {"open 0\n", readLine(5, 0), "truncate 0\n", "read 20 -1 ", readLine(6, 0), "closed\n"},
         "[CDR] Warning: sector 20 lies past the end of the data file (" + bin + ").\n"},
        {"the settings disk is full when the settings are saved",
         {{"LUMADISC_FAULT_SYNC", std::to_string(ENOSPC)}},
         {"open", "read:3", "close"},
         {"open 0\n", readLine(3, 0), "closed\n"},
         "[CDR] Error: settings not saved (./configs/lumaDisc.ini): " + errorText(ENOSPC) + ".\n"},
        {"the settings disk is read-only",
         {{"LUMADISC_FAULT_TEMPFILE", std::to_string(EROFS)}},
         {"open", "close"},
         {"open 0\n", "closed\n"},
         "[CDR] Error: settings not saved (./configs/lumaDisc.ini): " + errorText(EROFS) + ".\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        writeSettings();
        const std::string settingsBefore = host::readFile(settingsPath());
        fs::remove(scratch_.path() + "/lumaDisc.log");
        const HostRun run = runHost(scratch_.path(), row.env, row.steps);
        EXPECT_EQ(run.exitCode, 0) << run.out;
        size_t at = 0;
        for (const std::string& line : row.hostSees) {
            const size_t found = run.out.find(line, at);
            ASSERT_NE(found, std::string::npos) << "missing \"" << line << "\" in:\n" << run.out;
            at = found + line.size();
        }
        if (!row.logLine.empty()) {
            EXPECT_NE(log().find(row.logLine), std::string::npos) << log();
        }
        if (row.env.count("LUMADISC_FAULT_SYNC") || row.env.count("LUMADISC_FAULT_TEMPFILE")) {
            EXPECT_EQ(host::readFile(settingsPath()), settingsBefore) << "the failed save changed the settings file";
        }
        for (const auto& entry : fs::directory_iterator(scratch_.path() + "/configs"))
            EXPECT_EQ(entry.path().filename(), "lumaDisc.ini") << "a temporary file was left behind";
        if (row.steps.size() > 2 && row.steps[2].rfind("truncate:", 0) == 0) SetUp();  // the image again
        ASSERT_EQ(fs::file_size(bin), static_cast<uintmax_t>(kSectors * kSectorBytes)) << "the image file was changed";
    }
}

TEST_F(FaultMatrix, ASaveKilledMidWriteLeavesThePreviousSettingsByteForByte) {
    writeSettings();
    const std::string before = host::readFile(settingsPath());
    const HostRun run = runHost(scratch_.path(), {{"LUMADISC_FAULT_SYNC", "kill"}}, {"open", "read:1", "close"});
    EXPECT_EQ(run.exitCode, 128 + SIGKILL) << "the host was to be killed in the save: " << run.out;
    EXPECT_EQ(host::readFile(settingsPath()), before);
}

TEST_F(FaultMatrix, MissingOrBlockedFilesAroundThePluginNeverStopTheGame) {
    struct Row {
        const char* fault;
        void (*prepare)(const std::string& directory);
        std::map<std::string, std::string> env;
        const char* hostSees;
    };
    const Row rows[] = {
        {"the log cannot be opened: the disc opens and reads without a log", [](const std::string&) {},
         {{"LUMADISC_FAULT_LOG", std::to_string(EACCES)}}, "open 0\nread 3 0 "},
        {"no configs directory: the defaults, no disc, and nothing created",
         [](const std::string& d) { fs::remove_all(d + "/configs"); }, {}, "open -1\nread 3 -1 "},
        {"a file where the configs directory should be: the same, and the file stays",
         [](const std::string& d) {
             fs::remove_all(d + "/configs");
             std::FILE* f = std::fopen((d + "/configs").c_str(), "w");
             std::fputs("not a directory\n", f);
             std::fclose(f);
         },
         {}, "open -1\nread 3 -1 "},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        writeSettings();
        fs::remove(scratch_.path() + "/lumaDisc.log");
        row.prepare(scratch_.path());
        const bool configsWasFile = fs::is_regular_file(scratch_.path() + "/configs");
        const HostRun run = runHost(scratch_.path(), row.env, {"open", "read:3", "close"});
        EXPECT_EQ(run.exitCode, 0) << run.out;
        EXPECT_NE(run.out.find(row.hostSees), std::string::npos) << run.out;
        EXPECT_NE(run.out.find("closed\n"), std::string::npos) << run.out;
        EXPECT_FALSE(fs::exists(scratch_.path() + "/lumaDisc.log")) << log();
        if (configsWasFile) {
            EXPECT_EQ(host::readFile(scratch_.path() + "/configs"), "not a directory\n");
        }
        if (!fs::is_directory(scratch_.path() + "/configs")) fs::remove(scratch_.path() + "/configs");
    }
}

}  // namespace
}  // namespace lumadisc::e2e
