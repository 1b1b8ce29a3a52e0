// The keys are the plugin's own settings table (config/settings_table.h): no second list to drift.
#include "tools/config_program/settings_keys.h"

#include <strings.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "config/settings_table.h"
#include "input/key_combo.h"  // kComboInputs

namespace lumadisc::configprogram {

namespace {

struct Field {
    int32_t* number = nullptr;
    char* text = nullptr;
    size_t size = 0;
};

// Keys are compared without regard to case, as the file's reader does.
bool sameName(const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) == 0; }

KeyKind kindOf(SettingKind kind) {
    switch (kind) {
    case SettingKind::kFlag: return KeyKind::kFlag;
    case SettingKind::kNumber: return KeyKind::kNumber;
    case SettingKind::kText: return KeyKind::kText;
    case SettingKind::kHotKey: break;
    }
    return KeyKind::kCombo;
}

Field fieldOf(Settings& s, const SettingKey& key) {
    const SettingRow& row = settingRows()[key.row];
    if (row.kind == SettingKind::kFlag || row.kind == SettingKind::kNumber) return {settingNumber(s, row), nullptr, 0};
    return {nullptr, settingText(s, row, key.slot), row.size};
}

// One key per row of the plugin's settings table (one per slot of a hot key), in the file's order.
std::vector<SettingKey> buildKeys() {
    Settings defaults;
    settingsDefaults(&defaults);
    std::vector<SettingKey> keys;
    const auto add = [&](size_t index, int slot) {
        const SettingRow& row = settingRows()[index];
        const bool text = row.kind == SettingKind::kText || row.kind == SettingKind::kHotKey;
        SettingKey key{row.section,
                       row.kind == SettingKind::kHotKey ? std::string(row.key) + std::to_string(slot) : row.key,
                       kindOf(row.kind),
                       text ? 0 : row.low,
                       text ? static_cast<int>(row.size) - 1 : row.high,
                       "",
                       row.kind == SettingKind::kHotKey ? std::string(row.help) + "; empty for none" : row.help,
                       row.unit,
                       index,
                       slot};
        keys.push_back(key);
    };
    for (size_t i = 0; i < settingRows().size(); ++i) {
        if (settingRows()[i].kind != SettingKind::kHotKey) {
            add(i, 0);
            continue;
        }
        size_t last = i;
        while (last + 1 < settingRows().size() && settingRows()[last + 1].kind == SettingKind::kHotKey) ++last;
        for (int slot = 0; slot < kHotKeySlots; ++slot) {
            for (size_t action = i; action <= last; ++action) add(action, slot);
        }
        i = last;
    }
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
        // Exactly what the file holds and the help says; the library's looser reading stays the file's.
        static const char* const kTrue[] = {"true"};
        static const char* const kFalse[] = {"false"};
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
