// Every user setting, loaded from and saved to "./configs/lumaDisc.ini".
#pragma once

#include <atomic>
#include <cstdint>

namespace lumadisc {

enum HotKeyAction : int {
    kHotKeyConfigDialog,
    kHotKeyShowStatus,
    kHotKeyToggleCdxa,
    kHotKeyToggleCdda,
    kHotKeyDecreaseCdxaVolume,
    kHotKeyIncreaseCdxaVolume,
    kHotKeyDecreaseCddaVolume,
    kHotKeyIncreaseCddaVolume,
    kHotKeyCoverOpen,
    kHotKeyCoverClose,
    kHotKeyCdSwapping,
    kHotKeyActionCount
};
constexpr int kHotKeySlots = 2;
constexpr int kHotKeyTextSize = 32;

extern const char* const kSettingsPath;  // "./configs/lumaDisc.ini"

struct Settings {
    char current[4096];
    char filter[512];
    int32_t playcdxa;
    int32_t cdxavolumelevel;
    int32_t playcdda;
    int32_t cddavolumelevel;
    int32_t readsubchannels;
    int32_t ppfpatching;
    int32_t speedlimitation;
    int32_t tryagainonerror;
    int32_t spindowntime;
    int32_t caching;
    int32_t cachinglevel;
    char hotKeys[kHotKeyActionCount][kHotKeySlots][kHotKeyTextSize];
    int32_t showstatus;
    int32_t coveropened;
    int32_t calldialogonstart;
    int32_t enablelogging;
    int32_t enabledebugger;
    int32_t savedialogparameters;
    int32_t savesettingsonexit;
    int32_t dialogx;
    int32_t dialogy;
    int32_t dialogw;
    int32_t dialogh;
    char language[32];
};

extern Settings g_settings;

// The one way to read or change a setting that another thread may change while a disc is open (the
// flags and volumes the hot keys change, the cover, the logging switch): a relaxed atomic access to
// the single 32-bit word.
inline int32_t settingLive(const int32_t& field) {
    return std::atomic_ref<int32_t>(const_cast<int32_t&>(field)).load(std::memory_order_relaxed);
}
inline void settingSetLive(int32_t& field, int32_t value) {
    std::atomic_ref<int32_t>(field).store(value, std::memory_order_relaxed);
}

void settingsDefaults(Settings* settings);
// 0, or -1 when the file cannot be read (the record then holds the defaults).
int settingsLoad(Settings* settings);
// Copies a record loaded aside into target field by field, every 32-bit field through
// settingSetLive, so a reader of live settings never sees a record reset to its defaults half way.
// Callers hold the lock of every thread that reads the other fields (the reader front's).
void settingsPublish(Settings* target, const Settings& loaded);
// 0 when the file was written; -1 (with the log line saying why) when it was not.
int settingsSave(const Settings* settings);

}  // namespace lumadisc
