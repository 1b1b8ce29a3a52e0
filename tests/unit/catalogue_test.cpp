// The catalogue and the recently used list the settings file carries: splitting, duplicates, a full
// pool, starting over.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "config/catalogue.h"
#include "support/list_pool.h"

namespace lumadisc {
namespace {

// The catalogue and the recent list the settings file carries, handled directly.
class CatalogueTest : public ::testing::Test {
protected:
    void SetUp() override {
        listPoolInit();
        ASSERT_EQ(catalogueInit(), 0);
        ASSERT_EQ(recentInit(), 0);
    }
    void TearDown() override {
        recentShutdown();
        catalogueShutdown();
        listPoolShutdown();
    }
    static void addEntry(const char* path) {
        std::string copy(path);
        catalogueAddEntry(copy.data());
    }
    // (directory, file name) pairs in list order.
    static std::vector<std::pair<std::string, std::string>> entries() {
        std::vector<std::pair<std::string, std::string>> out;
        for (int i = 0; i < catalogueEntryCount(); ++i) out.emplace_back(catalogueEntry(i)->directory, catalogueEntry(i)->fileName);
        return out;
    }
    static std::vector<std::string> dirs() {
        std::vector<std::string> out;
        for (int i = 0; i < catalogueDirCount(); ++i) out.emplace_back(catalogueDir(i));
        return out;
    }
};

using Entries = std::vector<std::pair<std::string, std::string>>;

TEST_F(CatalogueTest, EntriesSplitAtTheLastBackslashWithoutDuplicates) {
    struct Case { std::vector<const char*> added; Entries expected; };
    const Case cases[] = {
        {{"C:\\images\\game.cue", "C:\\images\\game.cue\\"}, {{"C:\\images\\", "game.cue"}}},
        {{"D:\\"}, {{"", "D:"}}},
        {{"game.cue", "\\game.cue"}, {{"", "game.cue"}, {"\\", "game.cue"}}},
        {{"C:\\a\\x.cue", "C:\\A\\x.cue", "C:\\a\\x.cue"}, {{"C:\\a\\", "x.cue"}, {"C:\\A\\", "x.cue"}}},
        {{"\\", ""}, {{"", ""}}},
    };
    for (const Case& c : cases) {
        catalogueClear();
        for (const char* path : c.added) addEntry(path);
        EXPECT_EQ(entries(), c.expected) << c.added.front();
    }
    char path[] = "C:\\images\\";
    catalogueAddEntry(path);
    EXPECT_STREQ(path, "C:\\images");  // the caller's text loses its trailing backslash
}

TEST_F(CatalogueTest, DirectoriesEndInABackslashWithoutExactDuplicates) {
    catalogueAddDir("C:\\images");
    catalogueAddDir("C:\\images\\");
    catalogueAddDir("C:\\Images");
    catalogueAddDir("");
    EXPECT_EQ(dirs(), (std::vector<std::string>{"C:\\images\\", "C:\\Images\\", "\\"}));
    EXPECT_EQ(catalogueDir(3), nullptr);
    EXPECT_EQ(catalogueDir(-1), nullptr);
    EXPECT_EQ(catalogueEntry(0), nullptr);
    catalogueClear();
    EXPECT_EQ(catalogueDirCount(), 0);
}

TEST_F(CatalogueTest, WithoutListsNothingIsKeptOrLeaked) {
    recentShutdown();
    catalogueShutdown();
    addEntry("C:\\a.cue");
    recentAdd(strdup("/disc"));  // taken over and freed
    EXPECT_EQ(catalogueEntryCount(), 0);
    EXPECT_EQ(recentCount(), 0);

    // A full pool: init reports 1.
    std::vector<int> lists;
    for (int list; (list = listCreate(nullptr)) != -1;) lists.push_back(list);
    EXPECT_EQ(catalogueInit(), 1);
    EXPECT_EQ(recentInit(), 1);
    listDestroy(&lists.back());
    listDestroy(&lists.front());
    EXPECT_EQ(recentInit(), 0);
    EXPECT_EQ(catalogueInit(), 1);  // one list short
}

TEST_F(CatalogueTest, InitAgainStartsOverWithEmptyLists) {
    addEntry("C:\\a.cue");
    recentAdd(strdup("/disc"));
    ASSERT_EQ(catalogueInit(), 0);
    ASSERT_EQ(recentInit(), 0);
    EXPECT_EQ(catalogueEntryCount(), 0);
    EXPECT_EQ(recentCount(), 0);
}

}  // namespace
}  // namespace lumadisc
