// What the hot-key and configuration tests share: a virtual X server with key presses sent through
// XTest (xdotool), a stand-in for the configuration program, and waiting for a file to say something.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace lumadisc::e2e {

class XvfbServer {
public:
    XvfbServer() = default;
    ~XvfbServer();
    XvfbServer(const XvfbServer&) = delete;
    XvfbServer& operator=(const XvfbServer&) = delete;

    // Starts Xvfb on a free display; false with *why when Xvfb or xdotool is missing or fails.
    bool start(std::string* why);
    const std::string& display() const { return display_; }
    // Ends the server, as when it crashes or its session ends under a running emulator.
    void stop();
    // Runs xdotool with the arguments on this display; true when it succeeded.
    bool xdotool(const std::string& arguments) const;
    // Holds the keys (xdotool key names) down for `held`, releases them in reverse, and waits `after`
    // so that the plugin's 50 ms poll sees both.
    bool press(const std::string& keys, std::chrono::milliseconds held = std::chrono::milliseconds(200),
               std::chrono::milliseconds after = std::chrono::milliseconds(200)) const;

private:
    pid_t pid_ = -1;
    int pipe_ = -1;
    std::string display_;
};

// Sets environment variables for a test and puts the old values back when destroyed.
class EnvironmentOverride {
public:
    EnvironmentOverride() = default;
    ~EnvironmentOverride();
    EnvironmentOverride(const EnvironmentOverride&) = delete;
    EnvironmentOverride& operator=(const EnvironmentOverride&) = delete;
    void set(const std::string& name, const std::string& value);

private:
    std::map<std::string, std::optional<std::string>> saved_;
};

// Writes <directory>/configs/lumadisc-config: each run appends a line to <directory>/config-runs, and
// when <directory>/disc-cycle lists discs, it sets the settings file's disc to the first listed one
// that is not the current one.
void writeConfigStandIn(const std::string& directory, const std::string& extraShell = "");
// How many times the stand-in has run.
int configRuns(const std::string& directory);
// Calls `done` until it answers true or `limit` has passed; its last answer.
bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = std::chrono::seconds(5));

}  // namespace lumadisc::e2e
