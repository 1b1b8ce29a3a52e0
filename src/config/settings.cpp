#include "config/settings.h"

#include <iniparser/iniparser.h>

#include <climits>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "config/catalogue.h"
#include "config/log.h"
#include "support/atomic_file.h"

namespace lumadisc {

const char* const kHotKeyActionNames[kHotKeyActionCount] = {
    "configdialog",       "showstatus",         "togglecdxa",         "togglecdda",
    "decreasecdxavolume", "increasecdxavolume", "decreasecddavolume", "increasecddavolume",
    "coveropen",          "coverclose",         "cdswapping",
};

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

template <size_t N>
void readText(const dictionary* ini, const Key& k, char (&field)[N]) {
    const char* value = iniparser_getstring(ini, k.text, nullptr);
    if (value != nullptr) copyText(field, N, value);
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

const char* flagText(int32_t flag) {
    return flag != 0 ? "true" : "false";
}

// Fixed text fields are copied bounded, so a field that lost its terminator cannot be overread.
template <size_t N>
void setText(dictionary* ini, const Key& k, const char (&field)[N]) {
    char text[N];
    copyText(text, N, field);
    iniparser_set(ini, k.text, text);
}

void setInt(dictionary* ini, const Key& k, int32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%i", static_cast<int>(value));
    iniparser_set(ini, k.text, text);
}

// Saving mirrors loading; a key is set only after its section, or the dump leaves it out.
void buildDictionary(dictionary* ini, const Settings& s) {
    iniparser_set(ini, "cd selection", nullptr);
    setText(ini, key("cd selection", "current"), s.current);
    setText(ini, key("cd selection", "filter"), s.filter);
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

    iniparser_set(ini, "cdrom property", nullptr);
    iniparser_set(ini, "cdrom property:playcdxa", flagText(s.playcdxa));
    setInt(ini, key("cdrom property", "cdxavolumelevel"), s.cdxavolumelevel);
    iniparser_set(ini, "cdrom property:playcdda", flagText(s.playcdda));
    setInt(ini, key("cdrom property", "cddavolumelevel"), s.cddavolumelevel);
    iniparser_set(ini, "cdrom property:readsubchannels", flagText(s.readsubchannels));
    iniparser_set(ini, "cdrom property:ppfpatching", flagText(s.ppfpatching));
    setInt(ini, key("cdrom property", "speedlimitation"), s.speedlimitation);
    setInt(ini, key("cdrom property", "tryagainonerror"), s.tryagainonerror);
    setInt(ini, key("cdrom property", "spindowntime"), s.spindowntime);
    iniparser_set(ini, "cdrom property:caching", flagText(s.caching));
    setInt(ini, key("cdrom property", "cachinglevel"), s.cachinglevel);

    iniparser_set(ini, "hot keys", nullptr);
    for (int slot = 0; slot < kHotKeySlots; ++slot) {
        for (int action = 0; action < kHotKeyActionCount; ++action) {
            setText(ini, key("hot keys", kHotKeyActionNames[action], slot), s.hotKeys[action][slot]);
        }
    }

    iniparser_set(ini, "misc", nullptr);
    iniparser_set(ini, "misc:showstatus", flagText(s.showstatus));
    iniparser_set(ini, "misc:coveropened", flagText(s.coveropened));
    iniparser_set(ini, "misc:calldialogonstart", flagText(s.calldialogonstart));
    iniparser_set(ini, "misc:enablelogging", flagText(s.enablelogging));
    iniparser_set(ini, "misc:enabledebugger", flagText(s.enabledebugger));
    iniparser_set(ini, "misc:savedialogparameters", flagText(s.savedialogparameters));
    iniparser_set(ini, "misc:savesettingsonexit", flagText(s.savesettingsonexit));
    setInt(ini, key("misc", "dialogx"), s.dialogx);
    setInt(ini, key("misc", "dialogy"), s.dialogy);
    setInt(ini, key("misc", "dialogw"), s.dialogw);
    setInt(ini, key("misc", "dialogh"), s.dialogh);
    setText(ini, key("misc", "language"), s.language);
}

}  // namespace

void settingsDefaults(Settings* settings) {
    if (settings == nullptr) return;
    std::memset(settings, 0, sizeof *settings);
    Settings& s = *settings;
    s.playcdxa = 1;
    s.cdxavolumelevel = 100;
    s.playcdda = 1;
    s.cddavolumelevel = 100;
    s.readsubchannels = 1;
    s.ppfpatching = 1;
    s.speedlimitation = 0;
    s.tryagainonerror = 5;
    s.spindowntime = 0;
    s.caching = 1;
    s.cachinglevel = 20000;
    copyText(s.hotKeys[kHotKeyConfigDialog][0], kHotKeyTextSize, "0110004436");
    copyText(s.hotKeys[kHotKeyCoverOpen][0], kHotKeyTextSize, "0110004b");
    copyText(s.hotKeys[kHotKeyCoverClose][0], kHotKeyTextSize, "0110004c");
    copyText(s.hotKeys[kHotKeyCdSwapping][0], kHotKeyTextSize, "0110005f");
    s.showstatus = 1;
    s.dialogx = s.dialogy = s.dialogw = s.dialogh = 100;
    copyText(s.language, sizeof s.language, "en_EN.utf-8");
}

int settingsLoad(Settings* settings) {
    if (settings == nullptr) return -1;
    settingsDefaults(settings);
    dictionary* ini = iniparser_load(kSettingsPath);
    if (ini == nullptr) return -1;
    Settings& s = *settings;

    readText(ini, key("cd selection", "current"), s.current);
    readText(ini, key("cd selection", "filter"), s.filter);
    loadCatalogue(ini);

    readFlag(ini, key("cdrom property", "playcdxa"), &s.playcdxa);
    readInt(ini, key("cdrom property", "cdxavolumelevel"), &s.cdxavolumelevel);
    readFlag(ini, key("cdrom property", "playcdda"), &s.playcdda);
    readInt(ini, key("cdrom property", "cddavolumelevel"), &s.cddavolumelevel);
    readFlag(ini, key("cdrom property", "readsubchannels"), &s.readsubchannels);
    readFlag(ini, key("cdrom property", "ppfpatching"), &s.ppfpatching);
    readInt(ini, key("cdrom property", "speedlimitation"), &s.speedlimitation);
    readInt(ini, key("cdrom property", "tryagainonerror"), &s.tryagainonerror);
    readInt(ini, key("cdrom property", "spindowntime"), &s.spindowntime);
    readFlag(ini, key("cdrom property", "caching"), &s.caching);
    readInt(ini, key("cdrom property", "cachinglevel"), &s.cachinglevel);

    // Once the file is read, a missing binding is unassigned: the built-in ones do not apply.
    for (int slot = 0; slot < kHotKeySlots; ++slot) {
        for (int action = 0; action < kHotKeyActionCount; ++action) {
            const char* value = iniparser_getstring(ini, key("hot keys", kHotKeyActionNames[action], slot).text, "");
            copyText(s.hotKeys[action][slot], kHotKeyTextSize, value);
        }
    }

    readFlag(ini, key("misc", "showstatus"), &s.showstatus);
    readFlag(ini, key("misc", "coveropened"), &s.coveropened);
    readFlag(ini, key("misc", "calldialogonstart"), &s.calldialogonstart);
    readFlag(ini, key("misc", "enablelogging"), &s.enablelogging);
    readFlag(ini, key("misc", "enabledebugger"), &s.enabledebugger);
    readFlag(ini, key("misc", "savedialogparameters"), &s.savedialogparameters);
    readFlag(ini, key("misc", "savesettingsonexit"), &s.savesettingsonexit);
    readInt(ini, key("misc", "dialogx"), &s.dialogx);
    readInt(ini, key("misc", "dialogy"), &s.dialogy);
    readInt(ini, key("misc", "dialogw"), &s.dialogw);
    readInt(ini, key("misc", "dialogh"), &s.dialogh);
    readText(ini, key("misc", "language"), s.language);

    iniparser_freedict(ini);

    clamp(&s.cdxavolumelevel, 0, 100);
    clamp(&s.cddavolumelevel, 0, 100);
    clamp(&s.speedlimitation, 0, 32);
    clamp(&s.tryagainonerror, 0, 16);
    clamp(&s.spindowntime, 0, 600);
    clamp(&s.cachinglevel, 10, 100000);
    return 0;
}

void settingsPublish(Settings* target, const Settings& loaded) {
    if (target == nullptr || target == &loaded) return;
    static_assert(sizeof(Settings) == 4096 + 512 + sizeof Settings::hotKeys + 32 + 22 * sizeof(int32_t),
                  "a new setting must be published below too");
    Settings& t = *target;
    std::memcpy(t.current, loaded.current, sizeof t.current);
    std::memcpy(t.filter, loaded.filter, sizeof t.filter);
    std::memcpy(t.hotKeys, loaded.hotKeys, sizeof t.hotKeys);
    std::memcpy(t.language, loaded.language, sizeof t.language);
    for (int32_t Settings::*field :
         {&Settings::playcdxa, &Settings::cdxavolumelevel, &Settings::playcdda, &Settings::cddavolumelevel,
          &Settings::readsubchannels, &Settings::ppfpatching, &Settings::speedlimitation, &Settings::tryagainonerror,
          &Settings::spindowntime, &Settings::caching, &Settings::cachinglevel, &Settings::showstatus,
          &Settings::coveropened, &Settings::calldialogonstart, &Settings::enablelogging, &Settings::enabledebugger,
          &Settings::savedialogparameters, &Settings::savesettingsonexit, &Settings::dialogx, &Settings::dialogy,
          &Settings::dialogw, &Settings::dialogh}) {
        settingSetLive(t.*field, loaded.*field);
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
    if (!file.begin(kSettingsPath)) {
        logWrite(kLogPlugin, "[CDR] Error: settings not saved (%s): %s.\n", kSettingsPath, std::strerror(errno));
    } else {
        iniparser_dump_ini(ini, file.stream());
        if (!file.commit())
            logWrite(kLogPlugin, "[CDR] Error: settings not saved (%s): %s.\n", kSettingsPath, std::strerror(errno));
    }
    iniparser_freedict(ini);
    return 0;
}

}  // namespace lumadisc
