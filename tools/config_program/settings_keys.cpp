// The table of keys is built from the settings record's own defaults, so a default changed in the
// plugin's settings code shows here without a second copy.
#include "tools/config_program/settings_keys.h"

#include <strings.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "input/key_combo.h"  // kComboInputs

namespace lumadisc::configprogram {

namespace {

struct Field {
    int32_t* number = nullptr;
    char* text = nullptr;
    size_t size = 0;
};

struct NumberKey {
    const char* section;
    const char* name;
    int32_t Settings::*field;
    KeyKind kind;
    int low, high;
    const char* tooltip;
};

const NumberKey kNumberKeys[] = {
    {"cdrom property", "playcdxa", &Settings::playcdxa, KeyKind::kFlag, 0, 1, "Play the compressed (XA) audio of discs"},
    {"cdrom property", "cdxavolumelevel", &Settings::cdxavolumelevel, KeyKind::kNumber, 0, 100,
     "Volume of the compressed (XA) audio in percent"},
    {"cdrom property", "playcdda", &Settings::playcdda, KeyKind::kFlag, 0, 1, "Play the CD audio tracks of discs"},
    {"cdrom property", "cddavolumelevel", &Settings::cddavolumelevel, KeyKind::kNumber, 0, 100,
     "Volume of the CD audio tracks in percent"},
    {"cdrom property", "readsubchannels", &Settings::readsubchannels, KeyKind::kFlag, 0, 1,
     "Read the subchannel data of images and drives (some copy-protected discs need it)"},
    {"cdrom property", "ppfpatching", &Settings::ppfpatching, KeyKind::kFlag, 0, 1,
     "Apply a PPF patch found beside the image"},
    {"cdrom property", "speedlimitation", &Settings::speedlimitation, KeyKind::kNumber, 0, 32,
     "Read speed of a physical drive as a multiple of single speed; 0 for the drive's fastest"},
    {"cdrom property", "tryagainonerror", &Settings::tryagainonerror, KeyKind::kNumber, 0, 16,
     "Retries on a read error (kept for other programs sharing the file)"},
    {"cdrom property", "spindowntime", &Settings::spindowntime, KeyKind::kNumber, 0, 600,
     "Inactivity time after which a physical drive spins down"},
    {"cdrom property", "caching", &Settings::caching, KeyKind::kFlag, 0, 1, "Keep read sectors in a cache"},
    {"cdrom property", "cachinglevel", &Settings::cachinglevel, KeyKind::kNumber, 10, 100000,
     "Size of the sector cache"},
    {"misc", "showstatus", &Settings::showstatus, KeyKind::kFlag, 0, 1, "Show the status (kept for other programs)"},
    {"misc", "coveropened", &Settings::coveropened, KeyKind::kFlag, 0, 1, "The emulated disc cover is open"},
    {"misc", "calldialogonstart", &Settings::calldialogonstart, KeyKind::kFlag, 0, 1,
     "Run this program each time the emulator opens the disc"},
    {"misc", "enablelogging", &Settings::enablelogging, KeyKind::kFlag, 0, 1,
     "Write lumaDisc.log in the emulator's directory"},
    {"misc", "enabledebugger", &Settings::enabledebugger, KeyKind::kFlag, 0, 1, "Kept for other programs"},
    {"misc", "savedialogparameters", &Settings::savedialogparameters, KeyKind::kFlag, 0, 1,
     "Remember this window's place and size"},
    {"misc", "savesettingsonexit", &Settings::savesettingsonexit, KeyKind::kFlag, 0, 1,
     "Save the volumes and switches changed by hot keys when the emulator closes the disc"},
    {"misc", "dialogx", &Settings::dialogx, KeyKind::kNumber, -100000, 100000, "This window's left edge"},
    {"misc", "dialogy", &Settings::dialogy, KeyKind::kNumber, -100000, 100000, "This window's top edge"},
    {"misc", "dialogw", &Settings::dialogw, KeyKind::kNumber, 0, 100000, "This window's width"},
    {"misc", "dialogh", &Settings::dialogh, KeyKind::kNumber, 0, 100000, "This window's height"},
};

// Keys are compared without regard to case, as the file's reader does.
bool sameName(const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) == 0; }

Field fieldOf(Settings& s, const SettingKey& key) {
    Field f;
    for (const NumberKey& n : kNumberKeys) {
        if (sameName(key.section, n.section) && sameName(key.name, n.name)) f.number = &(s.*n.field);
    }
    if (f.number != nullptr) return f;
    if (sameName(key.fullName(), "cd selection:current")) return {nullptr, s.current, sizeof s.current};
    if (sameName(key.fullName(), "cd selection:filter")) return {nullptr, s.filter, sizeof s.filter};
    if (sameName(key.fullName(), "misc:language")) return {nullptr, s.language, sizeof s.language};
    for (int action = 0; action < kHotKeyActionCount; ++action) {
        for (int slot = 0; slot < kHotKeySlots; ++slot) {
            if (sameName(key.name, std::string(kHotKeyActionNames[action]) + std::to_string(slot)))
                return {nullptr, s.hotKeys[action][slot], kHotKeyTextSize};
        }
    }
    return f;
}

std::vector<SettingKey> buildKeys() {
    Settings defaults;
    settingsDefaults(&defaults);
    std::vector<SettingKey> keys;
    keys.push_back({"cd selection", "current", KeyKind::kText, 0, sizeof defaults.current - 1, "",
                    "The disc image or drive the emulator gets; empty for no disc"});
    keys.push_back({"cd selection", "filter", KeyKind::kText, 0, sizeof defaults.filter - 1, "",
                    "Kept for other programs sharing the file"});
    auto addNumbers = [&](const char* section) {
        for (const NumberKey& n : kNumberKeys) {
            if (std::strcmp(n.section, section) != 0) continue;
            keys.push_back({n.section, n.name, n.kind, n.low, n.high, "", n.tooltip});
        }
    };
    addNumbers("cdrom property");
    for (int slot = 0; slot < kHotKeySlots; ++slot) {
        for (int action = 0; action < kHotKeyActionCount; ++action) {
            keys.push_back({"hot keys", std::string(kHotKeyActionNames[action]) + std::to_string(slot), KeyKind::kCombo,
                            0, kHotKeyTextSize - 1, "", "Key combination of this action; empty for none"});
        }
    }
    addNumbers("misc");
    keys.push_back({"misc", "language", KeyKind::kText, 0, sizeof defaults.language - 1, "",
                    "Language of this program"});
    for (SettingKey& key : keys) key.defaultValue = settingValue(defaults, key);
    return keys;
}

// The file's reader cuts a value at ';' or '#' and a line at its end, so such a value would not come back.
bool textReadsBack(const std::string& text, std::string* why) {
    if (text.find_first_of(";#\n\r") != std::string::npos) {
        *why = "the characters ; # and line breaks cannot be stored";
        return false;
    }
    if (!text.empty() && (text.front() == ' ' || text.back() == ' ' || text.front() == '"' || text.front() == '\'')) {
        *why = "a value cannot start or end with a space or start with a quote";
        return false;
    }
    return true;
}

bool validCombo(const std::string& text) {
    if (text.empty()) return true;
    if (text.size() < 2 || text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return false;
    const long count = std::strtol(text.substr(0, 2).c_str(), nullptr, 16);
    // The input layer reads missing trailing digits as 0, and the built-in bindings are written short.
    return count >= 1 && count <= kComboInputs && text.size() > 2 && text.size() <= 2 + 8 * static_cast<size_t>(count);
}

}  // namespace

const std::vector<SettingKey>& settingKeys() {
    static const std::vector<SettingKey> keys = buildKeys();
    return keys;
}

const SettingKey* findSettingKey(const std::string& fullName) {
    for (const SettingKey& key : settingKeys()) {
        if (sameName(key.fullName(), fullName)) return &key;
    }
    return nullptr;
}

std::string settingValue(const Settings& settings, const SettingKey& key) {
    const Field f = fieldOf(const_cast<Settings&>(settings), key);
    if (f.number != nullptr) {
        if (key.kind == KeyKind::kFlag) return *f.number != 0 ? "true" : "false";
        return std::to_string(*f.number);
    }
    if (f.text != nullptr) return std::string(f.text, strnlen(f.text, f.size));
    return "";
}

std::string settingRange(const SettingKey& key) {
    switch (key.kind) {
    case KeyKind::kFlag: return "true/false";
    case KeyKind::kNumber: return std::to_string(key.low) + ".." + std::to_string(key.high);
    case KeyKind::kText: return "text, at most " + std::to_string(key.high) + " characters";
    case KeyKind::kCombo: return "key combination";
    }
    return "";
}

bool setSettingValue(Settings* settings, const SettingKey& key, const std::string& text, std::string* why) {
    const Field f = fieldOf(*settings, key);
    if (key.kind == KeyKind::kFlag) {
        static const char* const kTrue[] = {"true", "yes", "1", "on"};
        static const char* const kFalse[] = {"false", "no", "0", "off"};
        for (const char* word : kTrue) {
            if (sameName(text, word)) return *f.number = 1, true;
        }
        for (const char* word : kFalse) {
            if (sameName(text, word)) return *f.number = 0, true;
        }
        *why = "expected true or false";
        return false;
    }
    if (key.kind == KeyKind::kNumber) {
        errno = 0;
        char* end = nullptr;
        const long value = std::strtol(text.c_str(), &end, 10);
        if (text.empty() || *end != '\0' || errno != 0 || value < key.low || value > key.high) {
            *why = "expected a whole number in " + settingRange(key);
            return false;
        }
        *f.number = static_cast<int32_t>(value);
        return true;
    }
    if (text.size() > static_cast<size_t>(key.high)) {
        *why = "longer than " + std::to_string(key.high) + " characters";
        return false;
    }
    if (!textReadsBack(text, why)) return false;
    if (key.kind == KeyKind::kCombo && !validCombo(text)) {
        *why = "expected a key combination as the settings file writes it (for example 0110004b), or nothing";
        return false;
    }
    std::memcpy(f.text, text.c_str(), text.size() + 1);
    return true;
}

}  // namespace lumadisc::configprogram
