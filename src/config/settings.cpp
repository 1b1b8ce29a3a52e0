#include "config/settings.h"

#include <iniparser/iniparser.h>

#include <climits>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "config/catalogue.h"
#include "config/log.h"
#include "config/settings_table.h"
#include "support/atomic_file.h"
#include "support/regular_file.h"

namespace lumadisc {

const char* const kSettingsPath = "./configs/lumaDisc.ini";

Settings g_settings;

namespace {

// A bounded key: section names and indices are short, so 64 bytes always hold them.
struct Key {
    char text[64];
};

Key key(const char* section, const char* name, int index = -1) {
    Key k{};
    if (index < 0) {
        std::snprintf(k.text, sizeof k.text, "%s:%s", section, name);
    } else {
        std::snprintf(k.text, sizeof k.text, "%s:%s%i", section, name, index);
    }
    return k;
}

// Copies at most size - 1 characters and always terminates.
void copyText(char* destination, size_t size, const char* source) {
    const size_t length = strnlen(source, size - 1);
    std::memcpy(destination, source, length);
    destination[length] = '\0';
}

// The flag reading of the library: 1 for 1/t/T/y/Y, 0 for 0/f/F/n/N, otherwise the default.
void readFlag(const dictionary* ini, const Key& k, int32_t* field) {
    *field = iniparser_getboolean(ini, k.text, *field) != 0 ? 1 : 0;
}

// C integer literals through the library's long reading, saturated to 32 bits so that a huge
// value clamps to the top of its range instead of wrapping.
void readInt(const dictionary* ini, const Key& k, int32_t* field) {
    const long value = iniparser_getlongint(ini, k.text, *field);
    *field = value > INT32_MAX ? INT32_MAX : value < INT32_MIN ? INT32_MIN : static_cast<int32_t>(value);
}

void clamp(int32_t* field, int32_t low, int32_t high) {
    if (*field < low) *field = low;
    if (*field > high) *field = high;
}

void loadCatalogue(const dictionary* ini) {
    catalogueClear();
    for (int i = 0;; ++i) {
        const char* value = iniparser_getstring(ini, key("cd selection", "cddev", i).text, nullptr);
        if (value == nullptr) break;
        char* path = strdup(value);  // the catalogue edits the path in place
        if (path == nullptr) continue;
        catalogueAddEntry(path);
        std::free(path);
    }
    for (int i = 0;; ++i) {
        const char* value = iniparser_getstring(ini, key("cd selection", "cdimgdir", i).text, nullptr);
        if (value == nullptr) break;
        catalogueAddDir(value);
    }
    recentClear();
    for (int i = 0;; ++i) {
        const char* value = iniparser_getstring(ini, key("recently", "", i).text, nullptr);
        if (value == nullptr) break;
        if (char* path = strdup(value)) recentAdd(path);
    }
}

// The longest text field of the record (the disc path).
constexpr size_t kPathCapacityOfRecord = sizeof(Settings::current);

const char* flagText(int32_t flag) {
    return flag != 0 ? "true" : "false";
}

void setInt(dictionary* ini, const Key& k, int32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%i", static_cast<int>(value));
    iniparser_set(ini, k.text, text);
}

// The catalogue lists follow the "cd selection" keys, and the recently used list its own section.
void setLists(dictionary* ini) {
    for (int i = 0, n = catalogueEntryCount(); i < n; ++i) {
        const CatalogueEntry* entry = catalogueEntry(i);
        if (entry == nullptr) break;
        const size_t size = std::strlen(entry->directory) + std::strlen(entry->fileName) + 1;
        char* path = static_cast<char*>(std::malloc(size));
        if (path == nullptr) break;
        std::snprintf(path, size, "%s%s", entry->directory, entry->fileName);
        iniparser_set(ini, key("cd selection", "cddev", i).text, path);
        std::free(path);
    }
    for (int i = 0, n = catalogueDirCount(); i < n; ++i) {
        const char* directory = catalogueDir(i);
        if (directory == nullptr) break;
        iniparser_set(ini, key("cd selection", "cdimgdir", i).text, directory);
    }
    iniparser_set(ini, "recently", nullptr);
    for (int i = 0, n = recentCount(); i < n; ++i) {
        const char* path = recentItem(i);
        if (path == nullptr) break;
        iniparser_set(ini, key("recently", "", i).text, path);
    }
}

void setRow(dictionary* ini, const SettingRow& row, const Settings& s, int slot) {
    Settings& record = const_cast<Settings&>(s);
    switch (row.kind) {
    case SettingKind::kFlag:
        iniparser_set(ini, key(row.section, row.key).text, flagText(*settingNumber(record, row)));
        return;
    case SettingKind::kNumber:
        setInt(ini, key(row.section, row.key), *settingNumber(record, row));
        return;
    case SettingKind::kText:
    case SettingKind::kHotKey: {
        // Fixed text fields are copied bounded, so a field that lost its terminator cannot be overread.
        char text[kPathCapacityOfRecord];
        copyText(text, row.size, settingText(record, row, slot));
        iniparser_set(ini, (row.kind == SettingKind::kHotKey ? key(row.section, row.key, slot) : key(row.section, row.key)).text,
                      text);
        return;
    }
    }
}

// Saving mirrors loading, in the order of the table; a key is set only after its section, or the dump
// leaves it out. The hot keys are written slot by slot.
void buildDictionary(dictionary* ini, const Settings& s) {
    const char* section = nullptr;
    for (size_t i = 0; i < settingRows().size(); ++i) {
        const SettingRow& row = settingRows()[i];
        if (section == nullptr || std::strcmp(section, row.section) != 0) {
            if (section != nullptr && std::strcmp(section, "cd selection") == 0) setLists(ini);
            section = row.section;
            iniparser_set(ini, section, nullptr);
        }
        if (row.kind != SettingKind::kHotKey) {
            setRow(ini, row, s, 0);
            continue;
        }
        size_t last = i;
        while (last + 1 < settingRows().size() && settingRows()[last + 1].kind == SettingKind::kHotKey) ++last;
        for (int slot = 0; slot < kHotKeySlots; ++slot) {
            for (size_t action = i; action <= last; ++action) setRow(ini, settingRows()[action], s, slot);
        }
        i = last;
    }
}

}  // namespace

void settingsDefaults(Settings* settings) {
    if (settings == nullptr) return;
    std::memset(settings, 0, sizeof *settings);
    for (const SettingRow& row : settingRows()) {
        if (row.kind == SettingKind::kFlag || row.kind == SettingKind::kNumber) {
            *settingNumber(*settings, row) = row.defaultNumber;
        } else {
            copyText(settingText(*settings, row), row.size, row.defaultText);
        }
    }
}

int settingsLoad(Settings* settings) {
    if (settings == nullptr) return -1;
    settingsDefaults(settings);
    // A pipe or device in the file's place would block the library's read: only a file is read.
    std::string why;
    if (!isReadableRegularFile(kSettingsPath, &why)) {
        if (why.find("not a") != std::string::npos)
            logWrite(kLogPlugin, "[CDR] Error: settings not read (%s): %s.\n", kSettingsPath, why.c_str());
        return -1;
    }
    dictionary* ini = iniparser_load(kSettingsPath);
    if (ini == nullptr) return -1;
    Settings& s = *settings;
    for (const SettingRow& row : settingRows()) {
        switch (row.kind) {
        case SettingKind::kFlag: readFlag(ini, key(row.section, row.key), settingNumber(s, row)); break;
        case SettingKind::kNumber: readInt(ini, key(row.section, row.key), settingNumber(s, row)); break;
        case SettingKind::kText: {
            const char* value = iniparser_getstring(ini, key(row.section, row.key).text, nullptr);
            if (value != nullptr) copyText(settingText(s, row), row.size, value);
            break;
        }
        case SettingKind::kHotKey:
            // Once the file is read, a missing binding is unassigned: the built-in ones do not apply.
            for (int slot = 0; slot < kHotKeySlots; ++slot) {
                const char* value = iniparser_getstring(ini, key(row.section, row.key, slot).text, "");
                copyText(settingText(s, row, slot), row.size, value);
            }
            break;
        }
    }
    loadCatalogue(ini);
    iniparser_freedict(ini);
    for (const SettingRow& row : settingRows()) {
        if (row.kind == SettingKind::kNumber && row.clamped) clamp(settingNumber(s, row), row.low, row.high);
    }
    return 0;
}

void settingsPublish(Settings* target, const Settings& loaded) {
    if (target == nullptr || target == &loaded) return;
    Settings& source = const_cast<Settings&>(loaded);
    for (const SettingRow& row : settingRows()) {
        if (row.kind == SettingKind::kFlag || row.kind == SettingKind::kNumber) {
            settingSetLive(*settingNumber(*target, row), *settingNumber(source, row));
        } else {
            const size_t slots = row.kind == SettingKind::kHotKey ? kHotKeySlots : 1;
            std::memcpy(settingText(*target, row), settingText(source, row), row.size * slots);
        }
    }
}

int settingsSave(const Settings* settings) {
    if (settings == nullptr) return -1;
    dictionary* ini = dictionary_new(0);
    if (ini == nullptr) return -1;
    buildDictionary(ini, *settings);
    // The directory "configs" is never created here: without it nothing is written. The file is
    // replaced whole or not at all, so a full disk or a crash never leaves the user's bindings cut.
    AtomicFile file;
    bool written = false;
    if (file.begin(kSettingsPath)) {
        iniparser_dump_ini(ini, file.stream());
        written = file.commit();
    }
    if (!written)
        logWrite(kLogPlugin, "[CDR] Error: settings not saved (%s): %s.\n", kSettingsPath, std::strerror(errno));
    iniparser_freedict(ini);
    return written ? 0 : -1;
}

}  // namespace lumadisc
