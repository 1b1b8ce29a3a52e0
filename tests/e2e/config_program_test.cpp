// lumadisc-config through its command line, and the plugin reading what it wrote: every key round-trips,
// refused options leave the file byte for byte, and CDRconfigure runs the real program.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "tests/e2e/hot_key_support.h"
#include "tests/e2e/plugin_harness.h"
#include "tests/e2e/tool_runner.h"
#include "tools/fixtures/file_writer.h"
#include "tests/unit/shell_command.h"

namespace lumadisc::e2e {
namespace {

using fixtures::CueImageBuilder;

struct ListedKey {
    std::string value;
    std::string range;
};

class ConfigProgram : public PluginHarness {
protected:
    // The scratch directory is an emulator's plugin directory: it has configs/.
    void SetUp() override {
        PluginHarness::SetUp();
        fixtures::makeDirectories(dir() + "/configs", nullptr);
    }
    ToolResult run(const std::vector<std::string>& arguments, const std::string& directory = "") {
        return runProgram(scratch_, LUMADISC_CONFIG_PROGRAM_PATH, arguments,
                          "cd " + test::shellWord(directory.empty() ? dir() : directory) + " && ");
    }
    std::string iniPath() const { return dir() + "/configs/lumaDisc.ini"; }
    std::string ini() const { return host::readFile(iniPath()); }
    // "--list": key -> value and range, in the order listed.
    std::vector<std::pair<std::string, ListedKey>> listed() {
        const ToolResult r = run({"--list"});
        EXPECT_EQ(r.exitCode, 0) << describeRun(r);
        std::vector<std::pair<std::string, ListedKey>> keys;
        std::istringstream lines(r.out);
        for (std::string line; std::getline(lines, line);) {
            const size_t equals = line.find(" = ");
            const size_t open = line.rfind("    (");
            if (line.empty() || line[0] == '#' || equals == std::string::npos || open == std::string::npos) continue;
            const size_t semicolon = line.find(';', open);
            keys.push_back({line.substr(0, equals),
                            {line.substr(equals + 3, open - equals - 3), line.substr(open + 5, semicolon - open - 5)}});
        }
        return keys;
    }
};

// A value other than `current` that the key takes.
std::string otherValue(const ListedKey& key) {
    if (key.range == "true/false") return key.value == "true" ? "false" : "true";
    if (key.range == "key combination") return key.value == "0210004436100000e1" ? "" : "0210004436100000e1";
    if (key.range.rfind("text", 0) == 0) return key.value == "a b/c.cue" ? "" : "a b/c.cue";
    const long low = std::stol(key.range.substr(0, key.range.find("..")));
    const long high = std::stol(key.range.substr(key.range.find("..") + 2));
    return std::to_string(std::to_string(high) == key.value ? low : high);
}

TEST_F(ConfigProgram, EveryKeyRoundTripsThroughTheFile) {
    const auto before = listed();
    ASSERT_EQ(before.size(), 47u) << "11 reading and audio keys, 22 hot keys, 12 misc keys, the disc and filter";
    EXPECT_NE(access(iniPath().c_str(), F_OK), 0) << "listing creates no file";
    std::map<std::string, std::string> wanted;
    for (const auto& [name, key] : before) {
        wanted[name] = otherValue(key);
        const ToolResult set = run({"--set", name + "=" + wanted[name]});
        ASSERT_EQ(set.exitCode, 0) << name << "\n" << describeRun(set);
        const ToolResult get = run({"--get", name});
        EXPECT_EQ(get.out, wanted[name] + "\n") << name;
    }
    for (const auto& [name, key] : listed()) EXPECT_EQ(key.value, wanted[name]) << name << " kept after later changes";
    EXPECT_EQ(ini().rfind("\n[cd selection]\n", 0), 0u) << "the first change wrote the whole file";
    EXPECT_NE(ini().find("\ncachinglevel                   = 100000\n"), std::string::npos) << ini();
}

TEST_F(ConfigProgram, RefusedOptionsLeaveTheFileByteForByte) {
    ASSERT_EQ(run({"--set", "cdrom property:cddavolumelevel=40"}).exitCode, 0);
    const std::string original = ini();
    std::ofstream(dir() + "/a;b.cue") << "FILE \"a.bin\" BINARY\n";
    std::ofstream(dir() + "/bare.bin") << std::string(2352 * 4, '\0');
    const std::string tooLong(32, 'x');
    const std::vector<std::vector<std::string>> refused = {
        {"--set", "cdrom property:cachinglevel=9"},
        {"--set", "cdrom property:cachinglevel=100001"},
        {"--set", "cdrom property:cddavolumelevel=-1"},
        {"--set", "cdrom property:speedlimitation=33"},
        {"--set", "cdrom property:spindowntime=0x10"},
        {"--set", "misc:enablelogging=maybe"},
        {"--set", "misc:enablelogging=yes"},  // the help says true or false
        {"--set", "misc:language=" + tooLong},
        {"--set", "cd selection:current=/discs/a;b.cue"},
        {"--set", "hot keys:coveropen0=zz"},
        {"--set", "hot keys:coveropen2=0110004b"},
        {"--set", "nosuch:key=1"},
        {"--set", "cdrom property:playcdda"},
        {"--get", "misc:nothing"},
        {"--disc", dir() + "/no-such.cue"},
        {"--disc", dir() + "/a;b.cue"},
        {"--disc", dir() + "/bare.bin"},  // no sheet: the plugin does not open it
        {"--disc", dir() + "/configs"},   // a directory
        {"--bogus"},
        {"--set", "misc:enablelogging=true", "--set", "cdrom property:cddavolumelevel=101"},
    };
    for (const auto& arguments : refused) {
        const ToolResult r = run(arguments);
        EXPECT_EQ(r.exitCode, 2) << arguments.back() << "\n" << describeRun(r);
        EXPECT_NE(r.err.find("lumadisc-config: "), std::string::npos) << describeRun(r);
        EXPECT_EQ(ini(), original) << arguments.back();
    }
    ASSERT_EQ(unlink(iniPath().c_str()), 0);
    EXPECT_EQ(run({"--set", "nosuch:key=1"}).exitCode, 2);
    EXPECT_NE(access(iniPath().c_str(), F_OK), 0) << "a refused change creates no file either";
}

TEST_F(ConfigProgram, FromAnyOtherDirectoryTheEmulatorsFileIsEditedAndReadingCreatesNothing) {
    // A shell in a disc's folder: no configs/ there, so the file is the emulator's in ~/.pcsxr/plugins.
    const std::string home = dir() + "/home", folder = dir() + "/discs";
    fixtures::makeDirectories(folder, nullptr);
    const std::string disc = writeCue(CueImageBuilder().addDataTrack(20), "discs/game").cuePath;
    const std::string emulators = home + "/.pcsxr/plugins/configs/lumaDisc.ini";
    const auto inFolder = [&](const std::vector<std::string>& arguments) {
        return runProgram(scratch_, LUMADISC_CONFIG_PROGRAM_PATH, arguments,
                          "cd " + test::shellWord(folder) + " && HOME=" + test::shellWord(home) + " ");
    };
    const ToolResult list = inFolder({"--list"});
    EXPECT_EQ(list.exitCode, 0) << describeRun(list);
    EXPECT_EQ(list.out.rfind("# " + emulators + "\n", 0), 0u) << list.out;
    EXPECT_FALSE(std::filesystem::exists(home)) << "--list creates nothing";
    EXPECT_FALSE(std::filesystem::exists(folder + "/configs"));
    const ToolResult set = inFolder({"--disc", disc});
    EXPECT_EQ(set.exitCode, 0) << describeRun(set);
    EXPECT_EQ(set.out, "lumadisc-config: wrote " + emulators + "\n");
    EXPECT_NE(host::readFile(emulators).find(disc), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder + "/configs")) << "nothing beside the disc";
    // --dir names the emulator's directory outright.
    const ToolResult other = inFolder({"--dir", dir(), "--get", "cd selection:current"});
    EXPECT_EQ(other.exitCode, 0) << describeRun(other);
}

TEST_F(ConfigProgram, ThePluginOpensTheDiscAndLogsAsWritten) {
    const std::string second = writeCue(CueImageBuilder().addDataTrack(30).addAudioTrack(20), "second").cuePath;
    ASSERT_TRUE(std::filesystem::is_directory(dir() + "/configs"));
    // Started inside configs as the classic face starts it, with a path relative to there.
    const ToolResult r = run({"--disc", "../second.cue", "--set", "misc:enablelogging=true"}, dir() + "/configs");
    ASSERT_EQ(r.exitCode, 0) << describeRun(r);
    EXPECT_EQ(run({"--get", "recently:0"}).exitCode, 2) << "the recent list is not a key";
    EXPECT_NE(run({"--list"}).out.find("recently:0 = " + second + "\n"), std::string::npos);
    ASSERT_EQ(api().init(), 0);
    ASSERT_EQ(api().open(), 0);
    unsigned char tn[2] = {0, 0};
    api().getTN(tn);
    EXPECT_EQ(tn[1], 2) << "the disc chosen by the program";
    closePlugin();
    EXPECT_NE(log().find("[CDR] CDRopen()\n"), std::string::npos) << "logging switched on by the program";
}

TEST_F(ConfigProgram, CdrConfigureRunsTheProgramAndTheReopenedDiscIsItsChoice) {
    const std::string first = writeCue(CueImageBuilder().addDataTrack(40), "first").cuePath;
    const std::string second = writeCue(CueImageBuilder().addDataTrack(30).addAudioTrack(20), "second").cuePath;
    ASSERT_EQ(openWith(settingsFor(first)), 0);
    ASSERT_EQ(symlink(LUMADISC_CONFIG_PROGRAM_PATH, (dir() + "/configs/lumadisc-config").c_str()), 0);
    EnvironmentOverride environment;
    environment.set("LUMADISC_CONFIG_SCRIPT", "--disc " + test::shellWord(second) + " --set 'cdrom property:caching=false'");
    EXPECT_EQ(api().configure(), 0);
    unsigned char tn[2] = {0, 0};
    api().getTN(tn);
    EXPECT_EQ(tn[1], 2) << log();
    EXPECT_NE(ini().find("\ncaching                        = false\n"), std::string::npos) << ini();
}

// The installed layout: the program beside the plugin in the emulator's plugin directory, found there
// when the emulator's own directory and $PATH have none.
TEST_F(ConfigProgram, CdrConfigureFindsTheProgramInstalledBesideThePlugin) {
    const std::string second = writeCue(CueImageBuilder().addDataTrack(30).addAudioTrack(20), "second").cuePath;
    const std::string psemu = dir() + "/psemu";
    ASSERT_EQ(mkdir(psemu.c_str(), 0755), 0);
    ASSERT_TRUE(std::filesystem::is_directory(dir() + "/configs"));  // the classic face starts the program in it
    ASSERT_EQ(std::system(("cp " + test::shellWord(LUMADISC_PLUGIN_PATH) + " " +
                           test::shellWord(LUMADISC_CONFIG_PROGRAM_PATH) + " " + test::shellWord(psemu))
                              .c_str()),
              0);
    host::ClassicHost installed;
    ASSERT_TRUE(installed.load(psemu + "/liblumadisc.so")) << installed.error();
    EnvironmentOverride environment;
    environment.set("PATH", dir());
    environment.set("LUMADISC_CONFIG_SCRIPT", "--disc " + test::shellWord(second));
    ASSERT_EQ(installed.api().init(), 0);
    EXPECT_EQ(installed.api().configure(), 0);
    ASSERT_EQ(installed.api().open(), 0);
    unsigned char tn[2] = {0, 0};
    installed.api().getTN(tn);
    EXPECT_EQ(tn[1], 2) << "the program beside the plugin chose the disc";
    installed.api().close();
    installed.api().shutdown();
}

TEST_F(ConfigProgram, WithoutADisplayItExplainsTheCommandLine) {
    for (const std::string& script : {std::string(), std::string("--set 'unclosed")}) {
        const ToolResult r = runProgram(scratch_, LUMADISC_CONFIG_PROGRAM_PATH, {},
                                        "cd " + test::shellWord(dir()) +
                                            " && env -u DISPLAY -u WAYLAND_DISPLAY LUMADISC_CONFIG_SCRIPT=" +
                                            test::shellWord(script) + " ");
        EXPECT_EQ(r.exitCode, 2) << describeRun(r);
        EXPECT_NE(r.err.find(script.empty() ? "--set SECTION:KEY=VALUE" : "LUMADISC_CONFIG_SCRIPT"), std::string::npos)
            << describeRun(r);
        EXPECT_EQ(r.err.find("Gtk"), std::string::npos) << describeRun(r);
    }
}

}  // namespace
}  // namespace lumadisc::e2e
