// lumadisc: loads the plugin the way an emulator does and shows what it makes of a disc.
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>

#include "tools/lumadisc/cleanup_on_signal.h"
#include "tools/lumadisc/commands.h"

namespace {

constexpr const char* kUsage =
    "usage: lumadisc [--plugin PATH] [--log] [--no-cache] COMMAND [ARGUMENTS]\n"
    "\n"
    "commands:\n"
    "  info [DISC]                      kind, the plugin used, disc type and every track (start, LBA, length)\n"
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
    "  drives [DEVICE...]               every optical drive (or the devices named) with its vendor,\n"
    "                                   product, revision and whether a disc is in it\n"
    "  rip DRIVE OUT.cue [--sub] [--retries N]\n"
    "                                   copies the disc in DRIVE to OUT.cue and OUT.bin (and OUT.sub with\n"
    "                                   the raw subchannel), retrying unreadable sectors N times (3)\n"
    "  verify DISC [--json]             reads every sector and checks sync, header address, EDC/ECC, the\n"
    "                                   Q channel's CRC and the track table; exit 1 when anything fails\n"
    "  convert DISC OUT.cue             writes the disc as one CUE/BIN (and OUT.sub when the disc has\n"
    "                                   subchannel data of its own)\n"
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
    "takes: an image path (.cue, .ccd, .mds, .toc, .chd), a console executable (.exe), a drive (a path\n"
    "without a dot, such as /dev/sr0) or \"No CD (bios shell)\".\n"
    "\n"
    "options:\n"
    "  --plugin PATH   the plugin library (default: $LUMADISC_PLUGIN, else liblumadisc.so beside the tool,\n"
    "                  else the one installed with it)\n"
    "  --log           turn the plugin's log on and show its lines on standard error\n"
    "  --no-cache      open the disc with the sector caches off\n"
    "\n"
    "exit codes: 0 done, 1 the disc, the plugin or a file failed (the message says which), 2 wrong arguments,\n"
    "3 rip finished with unreadable sectors; stopped by SIGINT, SIGTERM or SIGHUP: 128 + the signal\n"
    "(130 for Ctrl-C), with its scratch directory and half-written files removed\n";

}  // namespace

namespace {

using namespace lumadisc::tool;

int dispatch(const std::string& command, const CommonOptions& options, const Arguments& arguments) {
    if (command == "info") return runInfo(options, arguments);
    if (command == "read") return runRead(options, arguments);
    if (command == "ls") return runLs(options, arguments);
    if (command == "boot") return runBoot(options, arguments);
    if (command == "play") return runPlay(options, arguments);
    if (command == "xa") return runXa(options, arguments);
    if (command == "drives") return runDrives(options, arguments);
    if (command == "verify") return runVerify(options, arguments);
    if (command == "convert") return runConvert(options, arguments);
    if (command == "keys") return runKeys(arguments);
    if (command == "messages") return runMessages(arguments);
    if (command == "rip") return runRip(options, arguments);
    if (command == "make-demo") return runMakeDemo(arguments);
    if (command == "help") {
        std::fputs(kUsage, stdout);
        return kExitOk;
    }
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
