#include "plugin/hot_keys.h"

#include <algorithm>
#include <mutex>

#include "config/config_program.h"
#include "config/log.h"
#include "config/message_file.h"
#include "config/settings.h"
#include "facade/cdrom_control.h"
#include "reader/cd_read.h"
#include "input/input_devices.h"
#include "input/key_combo.h"
#include "support/paths.h"

namespace lumadisc {

std::atomic<int32_t> g_hotKeyStop{1};

namespace {

constexpr const char* kConfigDirectory = "configs";
constexpr int32_t kVolumeStep = 10;

// The host's thread and the CD audio thread read the settings while this thread reloads them: the
// file is loaded aside and published whole, under the reader's lock so that a read in progress
// finishes with the record it started with.
void reloadSettings() {
    static Settings loaded;  // one thread loads at a time; kept off the thread's small stack
    settingsLoad(&loaded);
    std::lock_guard<std::mutex> lock(cdromMutex());
    settingsPublish(&g_settings, loaded);
}

const char* soundText(int32_t on) { return on != 0 ? "unmuted" : "muted"; }

void toggle(int32_t& flag, const char* format) {
    const int32_t now = settingLive(flag) == 0 ? 1 : 0;
    settingSetLive(flag, now);
    messageWrite(format, soundText(now));
}

void changeVolume(int32_t& level, int32_t step, const char* format) {
    int32_t now = settingLive(level) + step;
    now = now < 0 ? 0 : now > 100 ? 100 : now;
    settingSetLive(level, now);
    messageWrite(format, now);
}

// The cover stays open while the user picks the next disc; the new disc is opened over the old
// one (the facade ends CD audio and closes the old disc's sources first).
void swapDisc() {
    settingSetLive(g_settings.coveropened, 1);
    runConfigProgram(kConfigDirectory);
    reloadSettings();
    settingSetLive(g_settings.coveropened, 0);
    CCdromControl cdrom;
    cdrom.open();
    messageWrite("CD swapped\n");
}

void runAction(int action) {
    Settings& s = g_settings;
    switch (action) {
        case kHotKeyConfigDialog:
            runConfigProgram(kConfigDirectory);
            reloadSettings();
            break;
        case kHotKeyShowStatus:
            break;
        case kHotKeyToggleCdxa:
            toggle(s.playcdxa, "CDXA sound: %s\n");
            break;
        case kHotKeyToggleCdda:
            toggle(s.playcdda, "CDDA sound: %s\n");
            break;
        case kHotKeyDecreaseCdxaVolume:
            changeVolume(s.cdxavolumelevel, -kVolumeStep, "CDXA volume level: %i\n");
            break;
        case kHotKeyIncreaseCdxaVolume:
            changeVolume(s.cdxavolumelevel, kVolumeStep, "CDXA volume level: %i\n");
            break;
        case kHotKeyDecreaseCddaVolume:
            changeVolume(s.cddavolumelevel, -kVolumeStep, "CDDA volume level: %i\n");
            break;
        case kHotKeyIncreaseCddaVolume:
            changeVolume(s.cddavolumelevel, kVolumeStep, "CDDA volume level: %i\n");
            break;
        case kHotKeyCoverOpen:
            settingSetLive(s.coveropened, 1);
            messageWrite("CD-rom cover opened\n");
            break;
        case kHotKeyCoverClose:
            settingSetLive(s.coveropened, 0);
            messageWrite("CD-rom cover closed\n");
            break;
        case kHotKeyCdSwapping:
            swapDisc();
            break;
        default:
            break;
    }
}

}  // namespace

void hotKeyPass() {
    for (int slot = 0; slot < kHotKeySlots; ++slot) {
        for (int action = 0; action < kHotKeyActionCount; ++action) {
            // A copy: an action may reload the bindings while the pass goes on.
            char binding[kHotKeyTextSize];
            std::copy(g_settings.hotKeys[action][slot], g_settings.hotKeys[action][slot] + kHotKeyTextSize, binding);
            binding[kHotKeyTextSize - 1] = '\0';
            if (comboPressed(binding)) runAction(action);
        }
    }
}

void hotKeyThread() {
    bool fromServer = inputKeyboardFromServer();
    while (!g_hotKeyStop) {
        inputPoll();
        if (fromServer && !inputKeyboardFromServer()) {
            logWrite(kLogPlugin, "[CDR] Warning: the connection to the X server was lost, keys are read from evdev keyboards.\n");
        }
        fromServer = inputKeyboardFromServer();
        hotKeyPass();
        sleepSeconds(kHotKeyPollSeconds);
    }
}

}  // namespace lumadisc
