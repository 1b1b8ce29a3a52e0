// The settings file: every key in order, round trips, the library's reading, lists, failures.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "config/settings.h"
#include "config/settings_table.h"
#include "config/catalogue.h"
#include "scratch_directory.h"
#include "support/list_pool.h"

namespace lumadisc {
namespace {

class SettingsTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(scratch_.ok());
        ASSERT_EQ(mkdir("configs", 0777), 0);
        listPoolInit();
        ASSERT_EQ(catalogueInit(), 0);
        ASSERT_EQ(recentInit(), 0);
    }
    void TearDown() override {
        recentShutdown();
        catalogueShutdown();
        listPoolShutdown();
    }
    static void writeSettings(const std::string& text) { unit::writeWholeFile(kSettingsPath, text); }
    static std::string savedText() { return unit::readWholeFile(kSettingsPath); }

    unit::ScratchDirectory scratch_;
};

// A key line as the dump writes it: the key padded to 30 columns, " = ", the value.
std::string keyLine(const std::string& key, const std::string& value) {
    return key + std::string(key.size() < 30 ? 30 - key.size() : 0, ' ') + " = " + value + "\n";
}

TEST_F(SettingsTest, SaveWritesEveryKeyInOrder) {
    Settings s;
    settingsDefaults(&s);
    ASSERT_EQ(settingsSave(&s), 0);
    std::string expected = "\n[cd selection]\n" + keyLine("current", "") + keyLine("filter", "") + "\n";
    expected += "\n[recently]\n\n";
    expected += "\n[cdrom property]\n" + keyLine("playcdxa", "true") + keyLine("cdxavolumelevel", "100") +
                keyLine("playcdda", "true") + keyLine("cddavolumelevel", "100") +
                keyLine("readsubchannels", "true") + keyLine("ppfpatching", "true") +
                keyLine("speedlimitation", "0") + keyLine("tryagainonerror", "5") +
                keyLine("spindowntime", "0") + keyLine("caching", "true") + keyLine("cachinglevel", "20000") + "\n";
    expected += "\n[hot keys]\n";
    const char* const defaults[kHotKeyActionCount] = {"0110004436", "", "", "", "", "", "", "", "0110004b",
                                                      "0110004c",   "0110005f"};
    const char* const names[kHotKeyActionCount] = {
        "configdialog",       "showstatus",         "togglecdxa", "togglecdda", "decreasecdxavolume",
        "increasecdxavolume", "decreasecddavolume", "increasecddavolume", "coveropen", "coverclose", "cdswapping"};
    for (int slot = 0; slot < kHotKeySlots; ++slot) {
        for (int action = 0; action < kHotKeyActionCount; ++action) {
            expected += keyLine(names[action] + std::to_string(slot), slot == 0 ? defaults[action] : "");
        }
    }
    expected += "\n\n[misc]\n" + keyLine("showstatus", "true") + keyLine("coveropened", "false") +
                keyLine("calldialogonstart", "false") + keyLine("enablelogging", "false") +
                keyLine("enabledebugger", "false") + keyLine("savedialogparameters", "false") +
                keyLine("savesettingsonexit", "false") + keyLine("dialogx", "100") + keyLine("dialogy", "100") +
                keyLine("dialogw", "100") + keyLine("dialogh", "100") + keyLine("language", "en_EN.utf-8") + "\n\n";
    EXPECT_EQ(savedText(), expected);
}

TEST_F(SettingsTest, SaveThenLoadGivesTheSameRecord) {
    Settings saved;
    settingsDefaults(&saved);
    std::strcpy(saved.current, "/games/Disc One (E).cue");
    std::strcpy(saved.filter, "*.cue *.ccd");
    saved.playcdxa = 0;
    saved.cdxavolumelevel = 7;
    saved.cddavolumelevel = 0;
    saved.ppfpatching = 0;
    saved.speedlimitation = 32;
    saved.spindowntime = 600;
    saved.cachinglevel = 10;
    saved.coveropened = 1;
    saved.enablelogging = 1;
    saved.savesettingsonexit = 1;
    saved.dialogx = -40;
    std::strcpy(saved.hotKeys[kHotKeyCoverOpen][0], "");
    std::strcpy(saved.hotKeys[kHotKeyToggleCdda][1], "0120000041FF000001");
    std::strcpy(saved.language, "de_DE.utf-8");
    char entry[] = "D:\\";
    catalogueAddEntry(entry);
    char image[] = "C:\\images\\game.cue";
    catalogueAddEntry(image);
    catalogueAddDir("C:\\images");
    recentAdd(strdup("/games/b.cue"));
    recentAdd(strdup("/games/a.cue"));
    ASSERT_EQ(settingsSave(&saved), 0);
    EXPECT_NE(savedText().find(keyLine("cddev0", "D:")), std::string::npos);
    EXPECT_NE(savedText().find(keyLine("cdimgdir0", "C:\\images\\")), std::string::npos);

    catalogueClear();
    recentClear();
    Settings loaded;
    ASSERT_EQ(settingsLoad(&loaded), 0);
    EXPECT_EQ(std::memcmp(&loaded, &saved, sizeof saved), 0);
    ASSERT_EQ(catalogueEntryCount(), 2);
    EXPECT_STREQ(catalogueEntry(0)->fileName, "D:");
    EXPECT_STREQ(catalogueEntry(1)->directory, "C:\\images\\");
    ASSERT_EQ(catalogueDirCount(), 1);
    ASSERT_EQ(recentCount(), 2);
    EXPECT_STREQ(recentItem(0), "/games/b.cue");
}

TEST_F(SettingsTest, ValuesAreReadTheLibraryWayAndClamped) {
    struct Case { const char* section; const char* key; const char* value; int32_t Settings::*field; int32_t expected; };
    const Case cases[] = {
        {"cdrom property", "playcdda", "yes", &Settings::playcdda, 1},
        {"cdrom property", "playcdda", "maybe", &Settings::playcdda, 1},  // not a flag: default
        {"cdrom property", "playcdda", "No", &Settings::playcdda, 0},
        {"cdrom property", "playcdda", "", &Settings::playcdda, 1},
        {"misc", "enablelogging", "on", &Settings::enablelogging, 0},
        {"misc", "enablelogging", "True", &Settings::enablelogging, 1},
        {"misc", "coveropened", "1", &Settings::coveropened, 1},
        {"cdrom property", "caching", "false", &Settings::caching, 0},
        {"cdrom property", "cdxavolumelevel", "0x20", &Settings::cdxavolumelevel, 32},
        {"cdrom property", "cdxavolumelevel", "010", &Settings::cdxavolumelevel, 8},
        {"cdrom property", "cddavolumelevel", "101", &Settings::cddavolumelevel, 100},
        {"cdrom property", "cachinglevel", "5", &Settings::cachinglevel, 10},
        {"cdrom property", "cachinglevel", "100001", &Settings::cachinglevel, 100000},
        {"cdrom property", "cachinglevel", "99999999999", &Settings::cachinglevel, 100000},
        {"cdrom property", "cachinglevel", "-99999999999", &Settings::cachinglevel, 10},
        {"cdrom property", "spindowntime", "-3", &Settings::spindowntime, 0},
        {"cdrom property", "speedlimitation", "abc", &Settings::speedlimitation, 0},  // not a number: 0
        {"cdrom property", "speedlimitation", "33", &Settings::speedlimitation, 32},
        {"cdrom property", "tryagainonerror", "17", &Settings::tryagainonerror, 16},
        {"misc", "dialogw", "-7", &Settings::dialogw, -7},  // not clamped
        {"MISC", "DialogX", "12", &Settings::dialogx, 12},  // keys ignore case
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.key) + " = " + c.value);
        writeSettings(std::string("[") + c.section + "]\n" + c.key + " = " + c.value + "\n");
        Settings s;
        ASSERT_EQ(settingsLoad(&s), 0);
        EXPECT_EQ(s.*c.field, c.expected);
    }
}

TEST_F(SettingsTest, HotKeysAndTextFieldsOnceTheFileIsRead) {
    writeSettings("[hot keys]\nconfigdialog0 = 0110004437\nCoverClose1 = 0110004d\ncdswapping1 = " +
                  std::string(40, '7') + "\n[misc]\nlanguage = " + std::string(40, 'l') +
                  "\n[cd selection]\nfilter = " + std::string(600, 'f') + "\ncurrent = /a b/c;d\n");
    Settings s;
    ASSERT_EQ(settingsLoad(&s), 0);
    EXPECT_STREQ(s.hotKeys[kHotKeyConfigDialog][0], "0110004437");
    EXPECT_STREQ(s.hotKeys[kHotKeyCoverOpen][0], "");  // missing: unassigned, not the built-in F9
    EXPECT_STREQ(s.hotKeys[kHotKeyCoverClose][1], "0110004d");
    EXPECT_EQ(std::string(s.hotKeys[kHotKeyCdSwapping][1]), std::string(31, '7'));
    EXPECT_EQ(std::string(s.language), std::string(31, 'l'));
    EXPECT_EQ(std::string(s.filter), std::string(511, 'f'));
    EXPECT_STREQ(s.current, "/a b/c");  // ';' starts a comment

    std::strcpy(s.current, "/games/#1 disc.cue");
    ASSERT_EQ(settingsSave(&s), 0);
    EXPECT_NE(savedText().find(keyLine("current", "/games/#1 disc.cue")), std::string::npos);
    ASSERT_EQ(settingsLoad(&s), 0);
    EXPECT_STREQ(s.current, "/games/");
}

TEST_F(SettingsTest, ListsStopAtTheFirstGapAndKeepTwentyOneRecent) {
    std::string text = "[cd selection]\ncddev0 = C:\\a.cue\ncddev2 = C:\\c.cue\ncdimgdir0 = C:\\images\n"
                       "cdimgdir1 = C:\\images\\\ncdimgdir2 = C:\\Images\n[recently]\n";
    for (int i = 0; i < 25; ++i) text += std::to_string(i) + " = /r" + std::to_string(i) + "\n";
    writeSettings(text);
    Settings s;
    ASSERT_EQ(settingsLoad(&s), 0);
    EXPECT_EQ(catalogueEntryCount(), 1);
    EXPECT_EQ(catalogueDirCount(), 2);  // case matters
    ASSERT_EQ(recentCount(), kRecentMax);
    EXPECT_STREQ(recentItem(20), "/r20");
    EXPECT_EQ(recentItem(21), nullptr);

    ASSERT_EQ(settingsSave(&s), 0);
    EXPECT_NE(savedText().find("\n20                             = /r20\n"), std::string::npos);
    EXPECT_EQ(savedText().find("\n21 "), std::string::npos);
}

// The defaults are the record SaveWritesEveryKeyInOrder spells out.
TEST_F(SettingsTest, AMissingFileOrALineOverTheLibraryLimitGivesTheDefaults) {
    Settings defaults, s;
    settingsDefaults(&defaults);
    std::memset(&s, 0x5A, sizeof s);
    EXPECT_EQ(settingsLoad(&s), -1);
    EXPECT_EQ(std::memcmp(&s, &defaults, sizeof s), 0);

    const std::string head = "[misc]\nenablelogging = true\n[cd selection]\n";
    const std::string prefix = "current = ";
    writeSettings(head + prefix + std::string(1022 - prefix.size(), 'p') + "\n");
    ASSERT_EQ(settingsLoad(&s), 0);
    EXPECT_EQ(std::strlen(s.current), 1022 - prefix.size());
    EXPECT_EQ(s.enablelogging, 1);

    writeSettings(head + prefix + std::string(1023 - prefix.size(), 'p') + "\n");  // rejects the whole file
    EXPECT_EQ(settingsLoad(&s), -1);
    EXPECT_EQ(std::memcmp(&s, &defaults, sizeof s), 0);
}

TEST_F(SettingsTest, WithoutTheConfigsDirectoryNothingIsWritten) {
    ASSERT_EQ(rmdir("configs"), 0);
    Settings s;
    settingsDefaults(&s);
    EXPECT_EQ(settingsSave(&s), -1) << "nothing was written, and the caller hears so";
    EXPECT_FALSE(unit::fileExists("configs"));
}

}  // namespace
}  // namespace lumadisc

namespace lumadisc {
namespace {

// docs/settings.md gives each key of the settings table a line "| `section:key` | kind | default |
// range |"; the kind, default and range must be the table's.
TEST(SettingsTable, TheDocumentedKeysAreTheTablesWithItsDefaultsAndRanges) {
    std::ifstream in(std::string(LUMADISC_SOURCE_DIR) + "/docs/settings.md");
    std::string docs((std::istreambuf_iterator<char>(in)), {});
    ASSERT_FALSE(docs.empty());
    for (const SettingRow& row : settingRows()) {
        const bool hotKey = row.kind == SettingKind::kHotKey;
        const std::string name = std::string(row.section) + ":" + (hotKey ? "<action><slot>" : row.key);
        const size_t at = docs.find("| `" + name + "` |");
        ASSERT_NE(at, std::string::npos) << name << " is not documented";
        const std::string line = docs.substr(at, docs.find('\n', at) - at);
        std::string kind, defaultText, range;
        switch (row.kind) {
        case SettingKind::kFlag:
            kind = "flag", defaultText = row.defaultNumber ? "true" : "false", range = "true/false";
            break;
        case SettingKind::kNumber:
            kind = "number", defaultText = std::to_string(row.defaultNumber);
            range = std::to_string(row.low) + ".." + std::to_string(row.high) + (*row.unit ? " " : "") + row.unit;
            break;
        case SettingKind::kText:
            kind = "text", defaultText = *row.defaultText ? row.defaultText : "empty", range = "up to " + std::to_string(row.size - 1) + " characters";
            break;
        case SettingKind::kHotKey:
            kind = "key combination", defaultText = "see below", range = "up to " + std::to_string(row.size - 1) + " characters";
            break;
        }
        const std::string expected = "| `" + name + "` | " + kind + " | " + defaultText + " | " + range;
        EXPECT_EQ(line.substr(0, expected.size()), expected) << line;
        if (row.kind == SettingKind::kNumber && !row.clamped) {
            EXPECT_NE(line.find("not clamped"), std::string::npos) << line;
        }
    }
}

}  // namespace
}  // namespace lumadisc
