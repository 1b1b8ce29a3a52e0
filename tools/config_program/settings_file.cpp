#include "tools/config_program/settings_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

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

bool SettingsFile::open(std::string* why, const std::string& directory) {
    std::string target = directory;
    if (target.empty()) {
        // The plugin starts this program inside "configs" itself (the classic face) or in the host's
        // directory; from a shell elsewhere the file is the emulator's, in its plugin directory.
        const std::string here = currentDirectory();
        const bool insideConfigs = !isDirectory("configs") && here.substr(here.rfind('/') + 1) == "configs";
        const char* home = std::getenv("HOME");
        if (insideConfigs) target = "..";
        else if (!isDirectory("configs") && home != nullptr && *home != '\0') target = std::string(home) + "/.pcsxr/plugins";
    }
    // A directory that is not there yet (an emulator not started once) is made when the file is written.
    if (!target.empty() && !isDirectory(target.c_str())) {
        pending_ = target;
        path_ = target + "/configs/lumaDisc.ini";
        existed_ = false;
        return true;
    }
    if (!target.empty() && chdir(target.c_str()) != 0) {
        *why = "cannot use the settings directory " + target + ": " + std::strerror(errno) +
               (directory.empty() ? " (--dir names another)" : "");
        return false;
    }
    const std::string here = currentDirectory();
    path_ = (here == "/" ? "" : here) + "/configs/lumaDisc.ini";
    existed_ = access(kSettingsPath, F_OK) == 0;
    if (existed_ && settingsLoad(&settings_) != 0) {
        *why = "cannot read " + path_;
        return false;
    }
    return true;
}

bool SettingsFile::save(std::string* why) {
    if (!pending_.empty()) {
        std::error_code error;
        std::filesystem::create_directories(pending_, error);
        if (error || chdir(pending_.c_str()) != 0) {
            *why = "cannot create " + pending_ + ": " + (error ? error.message() : std::strerror(errno));
            return false;
        }
        pending_.clear();
    }
    if (mkdir("configs", 0755) != 0 && errno != EEXIST) {
        *why = "cannot create " + path_.substr(0, path_.rfind('/')) + ": " + std::strerror(errno);
        return false;
    }
    if (settingsSave(&settings_) != 0) {
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
