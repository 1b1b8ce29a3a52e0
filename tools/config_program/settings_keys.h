// Every key of the settings file that the configuration program edits: its section, kind, range and
// default, with reading and validated writing of the value in a settings record.
#pragma once

#include <string>
#include <vector>

#include "config/settings.h"

namespace lumadisc::configprogram {

enum class KeyKind { kFlag, kNumber, kText, kCombo };

struct SettingKey {
    std::string section;
    std::string name;
    KeyKind kind;
    int low;   // numbers: the range; text: 0
    int high;  // numbers: the range; text: the longest value kept
    std::string defaultValue;
    std::string tooltip;
    std::string unit;  // numbers: "%", "s", "sectors", ...; "" none
    size_t row = 0;    // in the plugin's settings table
    int slot = 0;      // hot keys: the slot

    std::string fullName() const { return section + ":" + name; }
};

// Every key in the order the settings file holds them.
const std::vector<SettingKey>& settingKeys();
// The key named "section:name" (case does not matter, as in the file); null when there is none.
const SettingKey* findSettingKey(const std::string& fullName);

// The key's value in the record, as the file writes it.
std::string settingValue(const Settings& settings, const SettingKey& key);
// Stores text as the key's value; false with *why (nothing stored) when it is not a value the key takes.
bool setSettingValue(Settings* settings, const SettingKey& key, const std::string& text, std::string* why);
// "0..100", "true/false", "text, at most 4095 characters" or "key combination".
std::string settingRange(const SettingKey& key);

}  // namespace lumadisc::configprogram
