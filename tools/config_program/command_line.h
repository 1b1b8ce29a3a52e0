// The command-line face of the configuration program, for scripts and machines without a display.
#pragma once

#include <string>
#include <vector>

namespace lumadisc::configprogram {

// What the command line accepts, for --help and for a start without a display.
std::string commandLineUsage();
// Runs the options (the program's arguments without its name); the program's exit code: 0, 2 for an
// unknown option, key or value (nothing is then written), 1 when the settings file cannot be written.
int runCommandLine(const std::vector<std::string>& arguments);
// Splits a line of options as a shell would, without running anything; false when it cannot.
bool splitOptions(const std::string& line, std::vector<std::string>* words);

}  // namespace lumadisc::configprogram
