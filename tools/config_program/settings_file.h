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

    // Moves to the directory that holds "configs" and loads the file, or the defaults when it is
    // missing; false with *why when the directory cannot be used. The directory is `directory` when one
    // is given; otherwise the working directory when it has "configs" (or is "configs", as when the
    // plugin starts the program), else the emulator's plugin directory ~/.pcsxr/plugins
    // (docs/config-program.md). Nothing is created here.
    bool open(std::string* why, const std::string& directory = "");
    // Writes the record and the lists; false with *why when the file was not written.
    bool save(std::string* why);
    // Writes the defaults when there is no file yet.
    bool createIfMissing(std::string* why);
    bool existed() const { return existed_; }

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
    std::string pending_;  // a settings directory to make at the first write
};

}  // namespace lumadisc::configprogram
