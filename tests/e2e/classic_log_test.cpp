// The log lines of real open, read and close cycles through the classic exports, and bad input.
#include <cstring>
#include <functional>
#include <string>

#include "tests/e2e/plugin_harness.h"
#include "tools/fixtures/file_writer.h"

namespace lumadisc::e2e {
namespace {

using fixtures::CueImageBuilder;

class ClassicLog : public PluginHarness {
protected:
    fixtures::CueImage twoTracks() {
        CueImageBuilder builder;
        builder.addDataTrack(40).addAudioTrack(20);
        return writeCue(builder);
    }
};

void expectInOrder(const std::string& log, const std::vector<std::string>& lines) {
    size_t at = 0;
    for (const auto& line : lines) {
        const size_t found = log.find(line, at);
        ASSERT_NE(found, std::string::npos) << "missing, or out of order: " << line << "\nlog:\n" << log;
        at = found + line.size();
    }
}

TEST_F(ClassicLog, AnOpenReadCloseCycleWritesEveryLineAsQuoted) {
    const auto image = twoTracks();
    auto settings = settingsFor(image.cuePath);
    settings.caching = false;
    ASSERT_EQ(openWith(settings), 0);
    unsigned char tn[2] = {7, 9};
    api().getTN(tn);
    unsigned char td[3] = {1, 2, 3};
    api().getTD(2, td);
    unsigned char time[3] = {0x00, 0x02, 0x16};
    api().readTrack(time);
    unsigned char b[24];
    std::memcpy(b, api().getBuffer(), sizeof b);  // the buffer is live: later reads overwrite it
    api().getBufferSub();
    unsigned char playAt[3] = {0, 2, 16};
    api().play(playAt);
    CdrStat status{};
    api().getStatus(&status);
    api().stop();
    unsigned char m, s, f;
    api().getTE(1, &m, &s, &f);
    uint8_t raw[kRawSectorSize];
    api().readCDDA(0, 2, 40, raw);
    closePlugin();

    char bufferLine[256];
    std::snprintf(bufferLine, sizeof bufferLine,
                  "[CDR] CDRgetBuffer() : %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x.\n",
                  b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13], b[14],
                  b[15], b[16], b[17], b[18], b[19], b[20], b[21], b[22], b[23]);
    expectInOrder(log(), {
        "[CDR] CDRopen()\n",
        "[CDR] CCdromControl::open().\n",
        "[CDR] CCdRead::open().\n",
        "[CDR] Warning: sub file not opened (" + dir() + "/disc.sub).\n",
        "[CDR] CCdPlay::open().\n",
        "[CDR] GetTN() : 7, 9.\n",
        "[CDR] CCdromControl::getTN().\n",
        "[CDR] CCdRead::getTN().\n",
        "[CDR] GetTD(2) : 01:02:03.\n",
        "[CDR] CCdromControl::getTD(2).\n",
        "[CDR] CCdRead::getTD(2).\n",
        "[CDR] ReadTrack(00:02:16)(16)\n",
        "[CDR] CCdromControl::setLoc(16).\n",
        "[CDR] CCdRead::setLoc(16).\n",
        "[CDR] CCdromControl::readData().\n",
        "[CDR] CCdPlay::stopCDDA().\n",
        "[CDR] CCdRead::readSubs().\n",
        "[CDR] CCdRead::readData().\n",
        "[CDR] CCdromControl::getDataBuffer().\n",
        "[CDR] CCdRead::getData().\n",
        bufferLine,
        "[CDR] CCdromControl::getSubsBuffer().\n",
        "[CDR] CCdRead::getSubs().\n",
        "[CDR] CDRgetBufferSub() : 41 01 01 00 00 16 00 00 02 16 ",
        "[CDR] CDRplay(00:02:10)(16).\n",
        "[CDR] CCdromControl::playCDDA().\n",
        "[CDR] CCdPlay::playCDDA().\n",
        "[CDR] CDRgetStatus().\n",
        "[CDR] CCdromControl::getDiscType().\n",
        "[CDR] CCdRead::getDiscType().\n",
        "[CDR] CCdromControl::isCDDA().\n",
        "[CDR] CCdPlay::isCDDA().\n",
        "[CDR] CCdromControl::getLoc().\n",
        "[CDR] CCdRead::getLoc().\n",
        "[CDR] CDRstop().\n",
        "[CDR] CCdromControl::stopCDDA().\n",
        "[CDR] CDRgetTE(1).\n",
        "[CDR] CCdromControl::getTD(2).\n",
        "[CDR] CDRreadCDDA(0, 2, 40).\n",
        "[CDR] CCdRead::setLoc(40).\n",
        "[CDR] CDRgetBuffer() : ",
        "[CDR] Close()\n",
        "[CDR] CCdromControl::close().\n",
        "[CDR] CCdPlay::close().\n",
        "[CDR] CCdRead::close().\n",
    });
    // Init and Shutdown come while the log is closed, so they are lost.
    EXPECT_EQ(log().find("[CDR] Init()"), std::string::npos);
}

TEST_F(ClassicLog, ReopeningTruncatesAndLoggingOffWritesNothing) {
    const auto image = twoTracks();
    ASSERT_EQ(openWith(settingsFor(image.cuePath)), 0);
    api().close();
    api().open();
    unsigned char time[3] = {0x00, 0x02, 0x05};
    api().readTrack(time);
    closePlugin();
    const std::string text = log();
    EXPECT_EQ(text.find("[CDR] CDRopen()\n"), 0u) << "the second open starts the file afresh";
    EXPECT_EQ(text.find("[CDR] CDRopen()\n", 1), std::string::npos);

    ASSERT_EQ(openWith(settingsFor(image.cuePath, false)), 0);
    api().readTrack(time);
    closePlugin();
    EXPECT_EQ(log(), text) << "with logging off the file is left untouched";
}

struct BadDisc {
    const char* name;
    // Prepares the scratch directory and returns the disc path to configure.
    std::function<std::string(const std::string& dir)> prepare;
    long openResult;
    std::string line;  // expected log line; "{dir}" stands for the scratch directory
    bool noTracks = false;
};

class ClassicBadInput : public PluginHarness, public ::testing::WithParamInterface<BadDisc> {};

std::string writeFile(const std::string& path, const std::string& bytes) {
    std::string error;
    fixtures::writeBytes(path, std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()),
                         &error);
    return path;
}

TEST_P(ClassicBadInput, GivesItsMessageAndResultWithoutHarm) {
    const BadDisc& bad = GetParam();
    const std::string disc = bad.prepare(dir());
    EXPECT_EQ(openWith(settingsFor(disc)), bad.openResult);
    // Whatever happened, the queries and reads must stay harmless.
    unsigned char tn[2] = {0xAA, 0xBB};
    api().getTN(tn);
    unsigned char td[3];
    api().getTD(1, td);
    unsigned char time[3] = {0x00, 0x02, 0x00};
    api().readTrack(time);
    api().getBuffer();
    api().getBufferSub();
    CdrStat status{};
    api().getStatus(&status);
    if (bad.noTracks) {
        EXPECT_EQ(tn[0], 0xAA) << "a sheet without tracks leaves the buffer untouched";
        EXPECT_EQ(status.Type, 2u);
    }
    closePlugin();
    std::string line = bad.line;
    if (const size_t at = line.find("{dir}"); at != std::string::npos) line.replace(at, 5, dir());
    EXPECT_NE(log().find(line), std::string::npos) << log();
}

const BadDisc kBadDiscs[] = {
    {"missing_sheet", [](const std::string& d) { return d + "/none.cue"; }, -1,
     "[CDR] Error: toc not opened ({dir}/none.cue).\n"},
    {"missing_data_file", [](const std::string& d) { return writeFile(d + "/a.cue", "FILE \"a.bin\" BINARY\n"); },
     -1, "[CDR] Error: data file not opened ({dir}/a.bin).\n"},
    {"empty_sheet",
     [](const std::string& d) {
         writeFile(d + "/e.bin", std::string(2352 * 4, '\0'));
         return writeFile(d + "/e.cue", "");
     },
     0, "[CDR] CCdRead::open().\n", true},
    {"garbage_sheet",
     [](const std::string& d) {
         std::string garbage;
         for (int i = 0; i < 5000; ++i) garbage += static_cast<char>((i * 7919) % 256);
         garbage += "INDEX 1 ";  // a keyword whose operands are cut off by the end of the sheet
         writeFile(d + "/g.bin", std::string(2352, 'x'));
         return writeFile(d + "/g.cue", garbage);
     },
     0, "[CDR] CCdRead::open().\n"},
    {"empty_data_file",
     [](const std::string& d) {
         writeFile(d + "/z.bin", "");
         return writeFile(d + "/z.cue", "FILE \"z.bin\" BINARY\n  TRACK 01 MODE2/2352\n    INDEX 01 00:00:00\n");
     },
     0, "[CDR] ReadTrack(00:02:00)(0)\n"},
    {"unknown_kind", [](const std::string& d) { return writeFile(d + "/disc.iso", "x"); }, -1,
     "[CDR] Error: unknown cd type: -1.\n"},
    {"kind_not_in_this_build", [](const std::string&) { return std::string("sr9"); }, -1,  // no dot: a drive
     "[CDR] Error: unknown cd type: 3.\n"},
    {"directory_with_dot_file_without",
     [](const std::string& d) {
         fixtures::makeDirectories(d + "/my.games", nullptr);
         return d + "/my.games/disc";
     },
     -1, "[CDR] Error: unknown cd type: -1.\n"},
};

INSTANTIATE_TEST_SUITE_P(Discs, ClassicBadInput, ::testing::ValuesIn(kBadDiscs),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(ClassicLog, AnOverlongPathOrNoSettingsDirectoryFailsCleanly) {
    // A 4095-character disc path makes the settings line too long for the INI library, which then
    // rejects the whole file: the defaults (no disc) apply and the open fails.
    std::string longPath = dir() + "/";
    while (longPath.size() < 4091) longPath += "d/";
    longPath.resize(4091);
    longPath += ".cue";
    ASSERT_EQ(longPath.size(), 4095u);
    EXPECT_EQ(openWith(settingsFor(longPath)), -1);
    closePlugin();

    host::removeTree(dir() + "/configs");
    api().init();
    EXPECT_EQ(api().open(), -1) << "no settings file: no disc";
    closePlugin();
}

}  // namespace
}  // namespace lumadisc::e2e
