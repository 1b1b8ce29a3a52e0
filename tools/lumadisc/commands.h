// The tool's commands; each takes its own arguments (after the command word) and returns an exit code.
#pragma once

#include <string>
#include <vector>

#include "tools/lumadisc/session.h"

namespace lumadisc::tool {

using Arguments = std::vector<std::string>;

int runInfo(const CommonOptions& options, const Arguments& arguments);
int runRead(const CommonOptions& options, const Arguments& arguments);
int runLs(const CommonOptions& options, const Arguments& arguments);
int runBoot(const CommonOptions& options, const Arguments& arguments);
int runPlay(const CommonOptions& options, const Arguments& arguments);
int runXa(const CommonOptions& options, const Arguments& arguments);
int runDrives(const CommonOptions& options, const Arguments& arguments);
int runRip(const CommonOptions& options, const Arguments& arguments);
int runVerify(const CommonOptions& options, const Arguments& arguments);
int runConvert(const CommonOptions& options, const Arguments& arguments);
int runMakeDemo(const Arguments& arguments);
int runKeys(const Arguments& arguments);
int runMessages(const Arguments& arguments);

// Parses a whole decimal number; false when the text is not one.
bool parseNumber(const std::string& text, long* value);
std::string hexBytes(const unsigned char* bytes, int count);
std::string msfText(const Msf& msf);

}  // namespace lumadisc::tool
