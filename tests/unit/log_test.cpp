// The log: levels against the threshold, cut messages, a file that cannot be opened, two writers.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <thread>

#include "config/log.h"
#include "config/settings.h"
#include "scratch_directory.h"

namespace lumadisc {
namespace {

constexpr const char* kLog = "./lumaDisc.log";

class LogTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(scratch_.ok());
        settingsDefaults(&g_settings);
        g_settings.enablelogging = 1;
    }
    void TearDown() override {
        logClose();
        settingsDefaults(&g_settings);
    }
    unit::ScratchDirectory scratch_;
};

TEST_F(LogTest, OnlyLevelsBelowTheThresholdAreWritten) {
    ASSERT_EQ(logOpen(kLog), 0);
    EXPECT_TRUE(logIsOpen());
    logWrite(kLogPlugin, "[CDR] Shutdown()\n");
    logWrite(kLogController, "[CDR] level one\n");
    logWrite(kLogPlugin, "[CDR] CCdRead::setLoc(%i).\n", 4350);
    g_settings.enablelogging = 0;  // read at each call
    logWrite(kLogPlugin, "[CDR] after switching off\n");
    // Unbuffered: the text is in the file before the log is closed.
    EXPECT_EQ(unit::readWholeFile(kLog), "[CDR] Shutdown()\n[CDR] CCdRead::setLoc(4350).\n");
    logClose();
    EXPECT_FALSE(logIsOpen());
    logWrite(-5, "closed\n");
    EXPECT_EQ(unit::readWholeFile(kLog), "[CDR] Shutdown()\n[CDR] CCdRead::setLoc(4350).\n");
}

TEST_F(LogTest, LongMessagesAreCut) {
    ASSERT_EQ(logOpen(kLog), 0);
    const std::string text(5000, 'x');
    logWrite(kLogPlugin, "%s!", text.c_str());
    logWrite(kLogPlugin, "%s", "\n");
    logClose();
    EXPECT_EQ(unit::readWholeFile(kLog), std::string(kLogMessageMax, 'x') + "\n");
}

TEST_F(LogTest, UnopenableFileLeavesTheLogClosed) {
    EXPECT_EQ(logOpen("./missing-directory/lumaDisc.log"), -1);
    EXPECT_FALSE(logIsOpen());
    logWrite(kLogPlugin, "dropped\n");
}

TEST_F(LogTest, MessagesFromTwoThreadsStayWhole) {
    ASSERT_EQ(logOpen(kLog), 0);
    const std::string a(200, 'a');
    const std::string b(300, 'b');
    auto writer = [](const std::string* text) {
        for (int i = 0; i < 400; ++i) logWrite(kLogPlugin, "%s\n", text->c_str());
    };
    std::thread first(writer, &a);
    std::thread second(writer, &b);
    first.join();
    second.join();
    logClose();

    std::istringstream lines(unit::readWholeFile(kLog));
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        ASSERT_TRUE(line == a || line == b) << "mixed line " << count;
    }
    EXPECT_EQ(count, 800);
}

}  // namespace
}  // namespace lumadisc
