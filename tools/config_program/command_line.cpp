// All options are checked before anything is changed, so a bad one leaves the file as it was.
#include "tools/config_program/command_line.h"

#include <sys/stat.h>
#include <wordexp.h>

#include <climits>
#include <cstdio>
#include <cstdlib>

#include "tools/config_program/disc_preview.h"
#include "tools/config_program/settings_file.h"
#include "tools/config_program/settings_keys.h"

namespace lumadisc::configprogram {

namespace {

struct Change {
    const SettingKey* key;
    std::string value;
};

int refuse(const std::string& message) {
    std::fprintf(stderr, "lumadisc-config: %s\n", message.c_str());
    return 2;
}

void printList(SettingsFile& file) {
    std::printf("# %s\n", file.path().c_str());
    for (const SettingKey& key : settingKeys()) {
        std::printf("%s = %s    (%s; default %s)\n", key.fullName().c_str(), settingValue(file.settings(), key).c_str(),
                    settingRange(key).c_str(), key.defaultValue.empty() ? "empty" : key.defaultValue.c_str());
    }
    const std::vector<std::string> recent = file.recent();
    for (size_t i = 0; i < recent.size(); ++i) std::printf("recently:%zu = %s\n", i, recent[i].c_str());
}

// A disc path as the plugin will open it from another working directory: absolute, and existing.
bool discPath(const std::string& given, std::string* path, std::string* why) {
    if (given.empty()) {
        path->clear();  // no disc
        return true;
    }
    char resolved[PATH_MAX];
    if (realpath(given.c_str(), resolved) == nullptr) {
        *why = "no such disc image or drive: " + given;
        return false;
    }
    *path = resolved;
    return true;
}

}  // namespace

std::string commandLineUsage() {
    return "usage: lumadisc-config [--dir DIR] [OPTION]...\n"
           "Edits configs/lumaDisc.ini, the settings of the lumaDisc CD-ROM plugin: the one in the working\n"
           "directory when it has configs/, else the emulator's (~/.pcsxr/plugins/configs/lumaDisc.ini).\n"
           "Without options it opens the settings window (this needs a display).\n"
           "  --dir DIR               the directory that holds configs/ (an emulator's plugin directory)\n"
           "  --list                  every key with its value, range and default, then the recently used discs\n"
           "  --get SECTION:KEY       the value of one key (for example \"cdrom property:cachinglevel\")\n"
           "  --set SECTION:KEY=VALUE changes one key; flags take true or false, numbers a whole number in range\n"
           "  --disc PATH             the disc to play (an image or a drive the plugin opens), also added to the\n"
           "                          recently used list; an empty PATH means no disc\n"
           "  --help                  this text\n"
           "Options can be repeated. --list and --get only read. A change prints the file it wrote; when an\n"
           "option is refused, or the file cannot be used, nothing is written and the exit code is 2.\n";
}

bool splitOptions(const std::string& line, std::vector<std::string>* words) {
    wordexp_t expansion{};
    if (wordexp(line.c_str(), &expansion, WRDE_NOCMD | WRDE_UNDEF) != 0) return false;
    for (size_t i = 0; i < expansion.we_wordc; ++i) words->emplace_back(expansion.we_wordv[i]);
    wordfree(&expansion);
    return true;
}

int runCommandLine(const std::vector<std::string>& arguments) {
    bool list = false;
    bool discGiven = false;
    std::string directory;
    std::string disc;
    std::vector<const SettingKey*> gets;
    std::vector<Change> changes;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& option = arguments[i];
        if (option == "--help" || option == "-h") {
            std::fputs(commandLineUsage().c_str(), stdout);
            return 0;
        }
        if (option == "--list") {
            list = true;
            continue;
        }
        if (option != "--get" && option != "--set" && option != "--disc" && option != "--dir") {
            return refuse("unknown option " + option + "\n" + commandLineUsage());
        }
        if (i + 1 >= arguments.size()) return refuse(option + " needs a value");
        const std::string value = arguments[++i];
        if (option == "--dir") {
            directory = value;
            continue;
        }
        if (option == "--disc") {
            std::string why;
            if (!discPath(value, &disc, &why)) return refuse(why);
            discGiven = true;
            continue;
        }
        const size_t equals = option == "--set" ? value.find('=') : std::string::npos;
        if (option == "--set" && equals == std::string::npos) return refuse("--set needs SECTION:KEY=VALUE");
        const std::string name = option == "--set" ? value.substr(0, equals) : value;
        const SettingKey* key = findSettingKey(name);
        if (key == nullptr) return refuse("unknown key " + name + " (--list shows every key)");
        if (option == "--get") {
            gets.push_back(key);
        } else {
            changes.push_back({key, value.substr(equals + 1)});
        }
    }
    if (!list && gets.empty() && changes.empty() && !discGiven) return refuse("nothing to do\n" + commandLineUsage());

    SettingsFile file;
    std::string why;
    if (!file.open(&why, directory)) return refuse(why);
    for (const Change& change : changes) {
        if (!setSettingValue(&file.settings(), *change.key, change.value, &why)) {
            return refuse("refused " + change.key->fullName() + "=" + change.value + ": " + why +
                          "; nothing was written");
        }
    }
    if (discGiven) {
        if (!setSettingValue(&file.settings(), *findSettingKey("cd selection:current"), disc, &why))
            return refuse("refused the disc " + disc + ": " + why + "; nothing was written");
        if (!discOpens(file.settings(), disc, &why)) return refuse("refused the disc " + disc + ": " + why + "; nothing was written");
        if (!disc.empty()) file.addRecent(disc);
    }
    // Only a change writes; reading creates nothing.
    if (!changes.empty() || discGiven) {
        if (!file.save(&why)) return refuse(why);
        std::printf("lumadisc-config: wrote %s\n", file.path().c_str());
    }
    for (const SettingKey* key : gets) std::printf("%s\n", settingValue(file.settings(), *key).c_str());
    if (list) printList(file);
    return 0;
}

}  // namespace lumadisc::configprogram
