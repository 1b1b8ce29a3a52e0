// The settings file the program edits: found from the working directory, loaded and saved through the
// plugin's own settings code together with the catalogue and the recently used list.
#pragma once

#include <string>
#include <vector>

#include "config/settings.h"

namespace lumadisc::configprogram {

class SettingsFile {
public:
    SettingsFile();
    ~SettingsFile();
    SettingsFile(const SettingsFile&) = delete;
    SettingsFile& operator=(const SettingsFile&) = delete;

    // Moves to the directory that holds "configs" (see docs/config-program.md) and loads the file, or
    // the defaults when it is missing; false with *why when the directory cannot be used.
    bool open(std::string* why);
    // Writes the record and the lists; false with *why when the file was not written.
    bool save(std::string* why);
    // Writes the defaults when there is no file yet.
    bool createIfMissing(std::string* why);

    Settings& settings() { return settings_; }
    // The settings file as a path a user can find.
    const std::string& path() const { return path_; }

    std::vector<std::string> recent() const;
    // Makes path the first of the recently used list, once, keeping the list's limit.
    void addRecent(const std::string& path);

private:
    Settings settings_{};
    bool existed_ = false;
    std::string path_;
};

}  // namespace lumadisc::configprogram
