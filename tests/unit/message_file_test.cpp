// The message file: where it lives, what creating and removing it do, and the size rule.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "config/message_file.h"
#include "tests/unit/scratch_directory.h"

namespace lumadisc {
namespace {

using unit::fileExists;
using unit::readWholeFile;
using unit::writeWholeFile;

class MessageFile : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(scratch_.ok());
        const char* tmp = std::getenv("TMP");
        if (tmp != nullptr) savedTmp_ = tmp;
        hadTmp_ = tmp != nullptr;
        setenv("TMP", scratch_.path().c_str(), 1);
        messageFileCreate();
        path_ = messageFilePath();
    }
    void TearDown() override {
        messageFileRemove();
        if (hadTmp_) {
            setenv("TMP", savedTmp_.c_str(), 1);
        } else {
            unsetenv("TMP");
        }
    }

    unit::ScratchDirectory scratch_;
    std::string path_;
    std::string savedTmp_;
    bool hadTmp_ = false;
};

TEST_F(MessageFile, LivesInAPerProcessDirectoryUnderTheTemporaryOne) {
    const std::string directory = scratch_.path() + "/qorvin/" + std::to_string(getpid());
    EXPECT_EQ(path_, directory + "/cdr.messages");
    EXPECT_EQ(readWholeFile(path_), "");
    messageWrite("CD-rom cover opened\n");
    writeWholeFile(path_, "left over\n");
    messageFileCreate();
    EXPECT_EQ(readWholeFile(path_), "") << "each creation empties it";
    messageFileRemove();
    EXPECT_FALSE(fileExists(directory));
    EXPECT_TRUE(fileExists(scratch_.path() + "/qorvin")) << "the directory above stays";
}

TEST_F(MessageFile, LinesAreAppendedUntilTheFileHoldsTheLimit) {
    const struct {
        size_t before;
        bool appended;
    } cases[] = {{0, true}, {1023, true}, {1024, false}, {5000, false}};
    for (const auto& c : cases) {
        const std::string filler(c.before, 'x');
        writeWholeFile(path_, filler);
        messageWrite("CDDA volume level: %i\n", 100);
        EXPECT_EQ(readWholeFile(path_), c.appended ? filler + "CDDA volume level: 100\n" : filler) << c.before;
    }
}

TEST_F(MessageFile, ADeletedFileIsNotCreatedAgain) {
    unlink(path_.c_str());
    messageWrite("CD swapped\n");
    EXPECT_FALSE(fileExists(path_));
    messageFileCreate();
    messageWrite("CD %s\n", "swapped");
    EXPECT_EQ(readWholeFile(path_), "CD swapped\n");
}

TEST_F(MessageFile, ALineIsCutAt4095Characters) {
    const std::string longText(5000, 'y');
    messageWrite("%s", longText.c_str());
    EXPECT_EQ(readWholeFile(path_).size(), 4095u);
}

}  // namespace
}  // namespace lumadisc
