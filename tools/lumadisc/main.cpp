// lumadisc: loads the plugin the way an emulator does and shows what it makes of a disc.
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>

#include "tools/lumadisc/cleanup_on_signal.h"
#include "tools/lumadisc/command_table.h"
#include "tools/lumadisc/commands.h"

namespace {

using namespace lumadisc::tool;

int dispatch(const std::string& command, const CommonOptions& options, const Arguments& arguments) {
    if (command == "help") {
        std::fputs(helpText().c_str(), stdout);
        return kExitOk;
    }
    if (const Command* found = findCommand(command)) return found->run(options, arguments);
    std::fprintf(stderr, "lumadisc: unknown command '%s' (see lumadisc --help)\n", command.c_str());
    return kExitUsage;
}

}  // namespace

int main(int argc, char** argv) {
    CommonOptions options;
    Arguments arguments;
    std::string command;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (command.empty() && (word == "--help" || word == "-h")) {
            std::fputs(helpText().c_str(), stdout);
            return kExitOk;
        } else if (command.empty() && word == "--plugin") {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "lumadisc: --plugin needs a path\n");
                return kExitUsage;
            }
            options.plugin = argv[++i];
        } else if (word == "--log") {
            options.log = true;
        } else if (word == "--no-cache") {
            options.noCache = true;
        } else if (command.empty()) {
            command = word;
        } else {
            arguments.push_back(word);
        }
    }
    if (command.empty()) {
        std::fputs(helpText().c_str(), stderr);
        return kExitUsage;
    }
    installCleanupOnSignal();
    // The commands report the errors they expect; anything else still ends in a message and exit code
    // 1, after the stack is unwound, so that the plugin is shut down and the scratch directory removed.
    try {
        return dispatch(command, options, arguments);
    } catch (const std::filesystem::filesystem_error& error) {
        std::fprintf(stderr, "lumadisc: %s\n", error.what());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lumadisc: %s failed: %s\n", command.c_str(), error.what());
    }
    return kExitFailure;
}
