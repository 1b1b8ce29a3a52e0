// lumadisc: loads the plugin the way an emulator does and shows what it makes of a disc.
#include <cstdio>
#include <cstring>

#include "tools/lumadisc/commands.h"

namespace {

constexpr const char* kUsage =
    "usage: lumadisc [--plugin PATH] [--log] [--no-cache] COMMAND [ARGUMENTS]\n"
    "\n"
    "commands:\n"
    "  info [DISC]                      kind, disc type and every track (start, LBA, length)\n"
    "  read DISC LBA [COUNT] [--raw FILE]\n"
    "                                   header, subheader, first data bytes and Q subchannel of\n"
    "                                   each sector, or the raw 2352-byte sectors to FILE\n"
    "  ls [DISC]                        the ISO 9660 file system of the first data track: every\n"
    "                                   directory and file with its extent and size\n"
    "  boot [DISC] [--withhold NAME]    starts the disc as a console does, with the plugin as its CD-ROM\n"
    "                                   controller: every command, response and interrupt with its tick\n"
    "  play DISC TRACK [--seconds N] [--volume V] [--wav FILE]\n"
    "                                   plays a CD audio track through the plugin (CDRplay) on the\n"
    "                                   sound device, or into the WAVE file FILE, with its progress\n"
    "  xa DISC MSF [--file F] [--channel C] [--sectors N] --wav FILE\n"
    "                                   reads the XA audio stream at MSF (mm:ss:ff) through the plugin's\n"
    "                                   controller and writes what it hands to spuPlayCDXA to FILE\n"
    "  make-demo DIR                    writes the demo disc (demo.cue, demo.bin) and the demo\n"
    "                                   executable (demo.exe) into DIR\n"
    "  keys [--count N] [--seconds S]   names the keys, mouse and joystick inputs as they are pressed\n"
    "                                   and prints the combination string for the \"hot keys\" settings\n"
    "  messages [--follow [--seconds S]] [--notify] [--pid PID]\n"
    "                                   prints (and empties) the status lines of a running plugin's\n"
    "                                   message file; --follow keeps printing them as they come,\n"
    "                                   --notify also shows each as a desktop notification\n"
    "\n"
    "Without DISC the built-in demo disc is used. DISC is what the plugin's \"cd selection\" setting\n"
    "takes: an image path (.cue), a console executable (.exe) or \"No CD (bios shell)\".\n"
    "\n"
    "options:\n"
    "  --plugin PATH   the plugin library (default: $LUMADISC_PLUGIN, else liblumadisc.so beside the tool)\n"
    "  --log           turn the plugin's log on and show its lines on standard error\n"
    "  --no-cache      open the disc with the sector caches off\n"
    "\n"
    "exit codes: 0 done, 1 the disc or the plugin failed, 2 wrong arguments\n";

}  // namespace

int main(int argc, char** argv) {
    using namespace lumadisc::tool;
    CommonOptions options;
    Arguments arguments;
    std::string command;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (command.empty() && (word == "--help" || word == "-h")) {
            std::fputs(kUsage, stdout);
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
        std::fputs(kUsage, stderr);
        return kExitUsage;
    }
    if (command == "info") return runInfo(options, arguments);
    if (command == "read") return runRead(options, arguments);
    if (command == "ls") return runLs(options, arguments);
    if (command == "boot") return runBoot(options, arguments);
    if (command == "play") return runPlay(options, arguments);
    if (command == "xa") return runXa(options, arguments);
    if (command == "make-demo") return runMakeDemo(arguments);
    if (command == "keys") return runKeys(arguments);
    if (command == "messages") return runMessages(arguments);
    if (command == "help") {
        std::fputs(kUsage, stdout);
        return kExitOk;
    }
    std::fprintf(stderr, "lumadisc: unknown command '%s' (see lumadisc --help)\n", command.c_str());
    return kExitUsage;
}
