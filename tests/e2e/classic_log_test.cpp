// The log lines of real open, read and close cycles through the classic exports, and settings that name no disc.
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>

#include "tests/e2e/plugin_harness.h"

namespace lumadisc::e2e {
namespace {

using fixtures::CueImageBuilder;

class ClassicLog : public PluginHarness {
protected:
    fixtures::CueImage twoTracks() { return writeCue(CueImageBuilder().addDataTrack(40).addAudioTrack(20)); }
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

    std::ostringstream bufferLine;  // the first 24 bytes in lower-case hex
    bufferLine << "[CDR] CDRgetBuffer() :" << std::hex;
    for (const unsigned char byte : b) bufferLine << ' ' << int(byte);
    bufferLine << ".\n";
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
        bufferLine.str(),
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
    ASSERT_EQ(openWith(settingsFor(image.cuePath, false)), 0);
    closePlugin();
    EXPECT_FALSE(std::filesystem::exists(dir() + "/lumaDisc.log")) << "with logging off no file is made";
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

TEST_F(ClassicLog, AHostReadingOnAndOnKeepsTheLogUnderItsBound) {
    ASSERT_EQ(openWith(settingsFor(twoTracks().cuePath)), 0);
    // Read until the file has been started again (16 MB of trace lines, a few hundred thousand reads).
    const std::string path = dir() + "/lumaDisc.log";
    uintmax_t largest = 0;
    bool restarted = false;
    for (int read = 0; read < 2000000 && !restarted; ++read) {
        unsigned char time[3] = {0x00, 0x02, static_cast<unsigned char>(0x16 + read % 8)};
        api().readTrack(time);
        if (read % 1000 == 0) {
            const uintmax_t size = std::filesystem::file_size(path);
            restarted = size < largest;
            largest = std::max(largest, size);
        }
    }
    ASSERT_TRUE(restarted) << "the log grew to " << largest << " bytes";
    EXPECT_LE(largest, 16u * 1024 * 1024);
    closePlugin();
    const std::string text = log();
    EXPECT_EQ(text.rfind("[CDR] Warning: the log reached 16 MB and was started again.\n", 0), 0u) << text.substr(0, 200);
    // The reads go on logging as before, each message whole.
    expectInOrder(text, {"[CDR] ReadTrack(00:02:", "[CDR] CCdRead::readData().\n", "[CDR] Close()\n"});
}

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
