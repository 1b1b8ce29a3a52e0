#include "tools/config_program/settings_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "config/catalogue.h"

namespace lumadisc::configprogram {

namespace {

bool isDirectory(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

std::string currentDirectory() {
    char here[4096];
    return getcwd(here, sizeof here) != nullptr ? here : ".";
}

}  // namespace

SettingsFile::SettingsFile() {
    catalogueInit();
    recentInit();
    settingsDefaults(&settings_);
}

SettingsFile::~SettingsFile() {
    recentShutdown();
    catalogueShutdown();
}

bool SettingsFile::open(std::string* why) {
    // The plugin starts this program inside "configs" itself (the classic face) or in the host's
    // directory; the file is always the one the plugin reads as ./configs/lumaDisc.ini.
    std::string here = currentDirectory();
    const size_t slash = here.rfind('/');
    if (!isDirectory("configs") && here.substr(slash + 1) == "configs") {
        if (chdir("..") != 0) {
            *why = "cannot enter the directory above " + here + ": " + std::strerror(errno);
            return false;
        }
        here = currentDirectory();
    }
    path_ = (here == "/" ? "" : here) + "/configs/lumaDisc.ini";
    existed_ = access(kSettingsPath, F_OK) == 0;
    if (existed_ && settingsLoad(&settings_) != 0) {
        *why = "cannot read " + path_;
        return false;
    }
    return true;
}

bool SettingsFile::save(std::string* why) {
    if (mkdir("configs", 0755) != 0 && errno != EEXIST) {
        *why = "cannot create " + path_.substr(0, path_.rfind('/')) + ": " + std::strerror(errno);
        return false;
    }
    // The settings code is silent when it cannot write: the file's new time and size tell.
    struct stat before {};
    const bool had = stat(kSettingsPath, &before) == 0;
    settingsSave(&settings_);
    struct stat after {};
    if (stat(kSettingsPath, &after) != 0 ||
        (had && after.st_ino == before.st_ino && after.st_mtim.tv_sec == before.st_mtim.tv_sec &&
         after.st_mtim.tv_nsec == before.st_mtim.tv_nsec)) {
        *why = "cannot write " + path_;
        return false;
    }
    existed_ = true;
    return true;
}

bool SettingsFile::createIfMissing(std::string* why) { return existed_ || save(why); }

std::vector<std::string> SettingsFile::recent() const {
    std::vector<std::string> items;
    for (int i = 0, n = recentCount(); i < n; ++i) {
        if (const char* item = recentItem(i)) items.emplace_back(item);
    }
    return items;
}

void SettingsFile::addRecent(const std::string& path) {
    std::vector<std::string> items = recent();
    recentClear();
    if (char* copy = strdup(path.c_str())) recentAdd(copy);
    for (const std::string& item : items) {
        if (item == path) continue;
        if (char* copy = strdup(item.c_str())) recentAdd(copy);  // the list drops what passes its limit
    }
}

}  // namespace lumadisc::configprogram
