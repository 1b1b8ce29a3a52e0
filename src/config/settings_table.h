// The one list of the settings file's keys: for each its section and key, the field of the settings
// record it fills, its kind, default, range, unit and the help text a person reads. Defaults, loading,
// clamping, saving, the publication of a reloaded record, the settings program's pages and command
// line and the key table of docs/settings.md all come from this list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace lumadisc {

struct Settings;

enum class SettingKind : uint8_t {
    kFlag,    // int32_t, 0 or 1, written true/false
    kNumber,  // int32_t in low..high (clamped when loaded unless `clamped` is false)
    kText,    // char[size]
    kHotKey,  // one char[32] per slot: the key is the action's name with the slot number after it
};

struct SettingRow {
    const char* section;
    const char* key;
    SettingKind kind;
    size_t offset;              // of the field in Settings (the first slot of a hot key)
    size_t size;                // texts: the field's size
    int32_t low, high;          // numbers: the range
    bool clamped;               // numbers: a loaded value outside the range is brought into it
    int32_t defaultNumber;      // flags and numbers
    const char* defaultText;    // texts and hot keys (slot 0; the other slots have none)
    const char* unit;           // numbers: "%", "s", "sectors", "x single speed"; "" none
    const char* help;           // what the setting does, as the settings program and the docs say it
};

std::span<const SettingRow> settingRows();

// The field a row names in a record.
inline int32_t* settingNumber(Settings& settings, const SettingRow& row) {
    return reinterpret_cast<int32_t*>(reinterpret_cast<char*>(&settings) + row.offset);
}
inline char* settingText(Settings& settings, const SettingRow& row, int slot = 0) {
    return reinterpret_cast<char*>(&settings) + row.offset + static_cast<size_t>(slot) * row.size;
}

}  // namespace lumadisc
