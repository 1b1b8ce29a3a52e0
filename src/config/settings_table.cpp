#include "config/settings_table.h"

#include <cstddef>

#include "config/settings.h"

namespace lumadisc {

namespace {

#define NUMBER_AT(field) offsetof(Settings, field), 0
#define TEXT_AT(field) offsetof(Settings, field), sizeof(Settings::field)
#define HOT_KEY_AT(action) offsetof(Settings, hotKeys) + (action) * sizeof(Settings::hotKeys[0]), kHotKeyTextSize

constexpr SettingKind kFlag = SettingKind::kFlag;
constexpr SettingKind kNumber = SettingKind::kNumber;
constexpr SettingKind kText = SettingKind::kText;
constexpr SettingKind kHotKey = SettingKind::kHotKey;

// In the order the file holds them. Hot-key slot 1 of an action follows the key name with a 1.
const SettingRow kRows[] = {
    {"cd selection", "current", kText, TEXT_AT(current), 0, 0, false, 0, "", "",
     "The disc image or drive the emulator gets; empty for no disc"},
    {"cd selection", "filter", kText, TEXT_AT(filter), 0, 0, false, 0, "", "", "Kept for other programs sharing the file"},
    {"cdrom property", "playcdxa", kFlag, NUMBER_AT(playcdxa), 0, 1, false, 1, "", "",
     "Play the compressed (XA) audio of discs"},
    {"cdrom property", "cdxavolumelevel", kNumber, NUMBER_AT(cdxavolumelevel), 0, 100, true, 100, "", "%",
     "Volume of the compressed (XA) audio"},
    {"cdrom property", "playcdda", kFlag, NUMBER_AT(playcdda), 0, 1, false, 1, "", "", "Play the CD audio tracks of discs"},
    {"cdrom property", "cddavolumelevel", kNumber, NUMBER_AT(cddavolumelevel), 0, 100, true, 100, "", "%",
     "Volume of the CD audio tracks"},
    {"cdrom property", "readsubchannels", kFlag, NUMBER_AT(readsubchannels), 0, 1, false, 1, "", "",
     "Read the subchannel data of images and drives (some copy-protected discs need it)"},
    {"cdrom property", "ppfpatching", kFlag, NUMBER_AT(ppfpatching), 0, 1, false, 1, "", "",
     "Apply a PPF patch found beside the image"},
    {"cdrom property", "speedlimitation", kNumber, NUMBER_AT(speedlimitation), 0, 32, true, 0, "", "x single speed",
     "Read speed of a physical drive; 0 for the drive's fastest"},
    {"cdrom property", "tryagainonerror", kNumber, NUMBER_AT(tryagainonerror), 0, 16, true, 5, "", "retries",
     "Retries on a read error (kept for other programs sharing the file)"},
    {"cdrom property", "spindowntime", kNumber, NUMBER_AT(spindowntime), 0, 600, true, 0, "", "s",
     "Inactivity time after which a physical drive spins down; 0 for the drive's own"},
    {"cdrom property", "caching", kFlag, NUMBER_AT(caching), 0, 1, false, 1, "", "", "Keep read sectors in a cache"},
    {"cdrom property", "cachinglevel", kNumber, NUMBER_AT(cachinglevel), 10, 100000, true, 20000, "", "sectors",
     "Size of the sector cache"},
    {"hot keys", "configdialog", kHotKey, HOT_KEY_AT(kHotKeyConfigDialog), 0, 0, false, 0, "0110004436", "",
     "Open the settings program"},
    {"hot keys", "showstatus", kHotKey, HOT_KEY_AT(kHotKeyShowStatus), 0, 0, false, 0, "", "", "Show the status"},
    {"hot keys", "togglecdxa", kHotKey, HOT_KEY_AT(kHotKeyToggleCdxa), 0, 0, false, 0, "", "",
     "Switch the XA audio on or off"},
    {"hot keys", "togglecdda", kHotKey, HOT_KEY_AT(kHotKeyToggleCdda), 0, 0, false, 0, "", "",
     "Switch the CD audio on or off"},
    {"hot keys", "decreasecdxavolume", kHotKey, HOT_KEY_AT(kHotKeyDecreaseCdxaVolume), 0, 0, false, 0, "", "",
     "Lower the XA audio volume"},
    {"hot keys", "increasecdxavolume", kHotKey, HOT_KEY_AT(kHotKeyIncreaseCdxaVolume), 0, 0, false, 0, "", "",
     "Raise the XA audio volume"},
    {"hot keys", "decreasecddavolume", kHotKey, HOT_KEY_AT(kHotKeyDecreaseCddaVolume), 0, 0, false, 0, "", "",
     "Lower the CD audio volume"},
    {"hot keys", "increasecddavolume", kHotKey, HOT_KEY_AT(kHotKeyIncreaseCddaVolume), 0, 0, false, 0, "", "",
     "Raise the CD audio volume"},
    {"hot keys", "coveropen", kHotKey, HOT_KEY_AT(kHotKeyCoverOpen), 0, 0, false, 0, "0110004b", "",
     "Open the disc cover"},
    {"hot keys", "coverclose", kHotKey, HOT_KEY_AT(kHotKeyCoverClose), 0, 0, false, 0, "0110004c", "",
     "Close the disc cover"},
    {"hot keys", "cdswapping", kHotKey, HOT_KEY_AT(kHotKeyCdSwapping), 0, 0, false, 0, "0110005f", "",
     "Change the disc"},
    {"misc", "showstatus", kFlag, NUMBER_AT(showstatus), 0, 1, false, 1, "", "", "Show the status (kept for other programs)"},
    {"misc", "coveropened", kFlag, NUMBER_AT(coveropened), 0, 1, false, 0, "", "", "The emulated disc cover is open"},
    {"misc", "calldialogonstart", kFlag, NUMBER_AT(calldialogonstart), 0, 1, false, 0, "", "",
     "Run the settings program each time the emulator opens the disc"},
    {"misc", "enablelogging", kFlag, NUMBER_AT(enablelogging), 0, 1, false, 0, "", "",
     "Write lumaDisc.log in the emulator's directory"},
    {"misc", "enabledebugger", kFlag, NUMBER_AT(enabledebugger), 0, 1, false, 0, "", "", "Kept for other programs"},
    {"misc", "savedialogparameters", kFlag, NUMBER_AT(savedialogparameters), 0, 1, false, 0, "", "",
     "Remember the settings window's place and size"},
    {"misc", "savesettingsonexit", kFlag, NUMBER_AT(savesettingsonexit), 0, 1, false, 0, "", "",
     "Save the volumes and switches changed by hot keys when the emulator closes the disc"},
    {"misc", "dialogx", kNumber, NUMBER_AT(dialogx), -100000, 100000, false, 100, "", "pixels",
     "The settings window's left edge"},
    {"misc", "dialogy", kNumber, NUMBER_AT(dialogy), -100000, 100000, false, 100, "", "pixels",
     "The settings window's top edge"},
    {"misc", "dialogw", kNumber, NUMBER_AT(dialogw), 0, 100000, false, 100, "", "pixels", "The settings window's width"},
    {"misc", "dialogh", kNumber, NUMBER_AT(dialogh), 0, 100000, false, 100, "", "pixels", "The settings window's height"},
    {"misc", "language", kText, TEXT_AT(language), 0, 0, false, 0, "en_EN.utf-8", "", "Language of the settings program"},
};

#undef NUMBER_AT
#undef TEXT_AT
#undef HOT_KEY_AT

}  // namespace

std::span<const SettingRow> settingRows() { return kRows; }

}  // namespace lumadisc
