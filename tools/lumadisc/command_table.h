// The tool's commands in one table: name, synopsis and what it does. The help text, each command's
// usage line and the dispatch are all made from it.
#pragma once

#include <span>
#include <string>

#include "tools/lumadisc/commands.h"

namespace lumadisc::tool {

struct Command {
    const char* name;
    const char* synopsis;  // after "lumadisc "
    const char* text;      // what it does, for the help
    int (*run)(const CommonOptions& options, const Arguments& arguments);
};

std::span<const Command> commands();
const Command* findCommand(const std::string& name);
// The whole help: usage, every command, DISC, the options and the exit codes.
std::string helpText();
// Prints "lumadisc: usage: lumadisc SYNOPSIS" of the named command to standard error; kExitUsage.
int usageError(const char* name);

}  // namespace lumadisc::tool
