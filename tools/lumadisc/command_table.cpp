#include "tools/lumadisc/command_table.h"

#include <cstdio>
#include <cstring>

namespace lumadisc::tool {

namespace {

int keys(const CommonOptions&, const Arguments& arguments) { return runKeys(arguments); }
int messages(const CommonOptions&, const Arguments& arguments) { return runMessages(arguments); }
int makeDemo(const CommonOptions&, const Arguments& arguments) { return runMakeDemo(arguments); }

const Command kCommands[] = {
    {"info", "info [DISC]", "kind, the plugin used, disc type and every track (start, LBA, length)", runInfo},
    {"read", "read DISC LBA [COUNT] [--raw FILE]",
     "header, subheader, first data bytes and Q subchannel of each sector, or the raw 2352-byte sectors to FILE",
     runRead},
    {"ls", "ls [DISC]", "the ISO 9660 file system of the first data track: every directory and file with its "
                        "extent and size",
     runLs},
    {"boot", "boot [DISC] [--withhold NAME] [--handshakes]",
     "starts the disc as a console does, with the plugin as its CD-ROM controller: every command, response and "
     "interrupt with its tick (--handshakes: the acknowledgements too; --withhold: a host function left out)",
     runBoot},
    {"play", "play DISC TRACK [--seconds N] [--volume V] [--wav FILE]",
     "plays a CD audio track through the plugin (CDRplay) on the sound device, or into the WAVE file FILE",
     runPlay},
    {"xa", "xa DISC MSF [--file F] [--channel C] [--sectors N] --wav FILE",
     "reads the XA audio stream at MSF (mm:ss:ff) through the plugin's controller and writes what it hands to "
     "spuPlayCDXA to FILE",
     runXa},
    {"drives", "drives [DEVICE...]",
     "every optical drive (or the devices named) with its vendor, product, revision and whether a disc is in it",
     runDrives},
    {"rip", "rip DRIVE OUT.cue [--sub] [--retries N]",
     "copies the disc in DRIVE to OUT.cue and OUT.bin (and OUT.sub with the raw subchannel), retrying "
     "unreadable sectors N times (3)",
     runRip},
    {"verify", "verify DISC [--json]",
     "reads every sector and checks sync, header address, EDC/ECC, the Q channel's CRC and the track table",
     runVerify},
    {"convert", "convert DISC OUT.cue",
     "writes the disc as one CUE/BIN with its gaps (and OUT.sub when the disc has subchannel data of its own)",
     runConvert},
    {"make-demo", "make-demo DIR", "writes the demo disc, the demo executable and their copies into DIR", makeDemo},
    {"keys", "keys [--count N] [--seconds S]",
     "names the keys, mouse and joystick inputs as they are pressed and prints the combination string for the "
     "\"hot keys\" settings",
     keys},
    {"messages", "messages [--follow [--seconds S]] [--notify] [--pid PID]",
     "prints (and empties) the status lines of a running plugin's message file; --follow keeps printing them, "
     "--notify also shows each as a desktop notification",
     messages},
};

// Words wrapped to `width` columns, each later line indented by `indent`.
std::string wrapped(const std::string& text, size_t indent, size_t width) {
    std::string out, line;
    size_t at = 0;
    while (at < text.size()) {
        size_t end = text.find(' ', at);
        if (end == std::string::npos) end = text.size();
        const std::string word = text.substr(at, end - at);
        if (!line.empty() && indent + line.size() + 1 + word.size() > width) {
            out += line + "\n" + std::string(indent, ' ');
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
        at = end + 1;
    }
    return out + line + "\n";
}

}  // namespace

std::span<const Command> commands() { return kCommands; }

const Command* findCommand(const std::string& name) {
    for (const Command& command : kCommands) {
        if (name == command.name) return &command;
    }
    return nullptr;
}

std::string helpText() {
    constexpr size_t kColumn = 35, kWidth = 104;
    std::string text = "usage: lumadisc [--plugin PATH] [--log] [--no-cache] COMMAND [ARGUMENTS]\n\ncommands:\n";
    for (const Command& command : kCommands) {
        std::string line = std::string("  ") + command.synopsis;
        if (line.size() + 1 > kColumn) {
            text += line + "\n";
            line.clear();
        }
        line += std::string(kColumn - line.size(), ' ');
        text += line + wrapped(command.text, kColumn, kWidth);
    }
    text +=
        "\n"
        "Without DISC the built-in demo disc is used. DISC is what the plugin's \"cd selection\" setting\n"
        "takes: an image path (.cue, .ccd, .mds, .toc, .chd), a console executable (.exe), a drive (a path\n"
        "without a dot that is not an ordinary file, such as /dev/sr0) or \"No CD (bios shell)\".\n"
        "\n"
        "options:\n"
        "  --plugin PATH   the plugin library (default: $LUMADISC_PLUGIN, else liblumadisc.so beside the tool,\n"
        "                  else the one installed with it, else ~/.pcsxr/plugins/liblumadisc.so)\n"
        "  --log           turn the plugin's log on and show its lines on standard error\n"
        "  --no-cache      open the disc with the sector caches off\n"
        "\n"
        "exit codes: 0 done, 1 the disc, the plugin or a file failed (the message says which), 2 wrong arguments,\n"
        "3 rip finished with unreadable sectors; stopped by SIGINT, SIGTERM or SIGHUP: 128 + the signal\n"
        "(130 for Ctrl-C, 143 for SIGTERM), with its scratch directory and half-written files removed\n";
    return text;
}

int usageError(const char* name) {
    const Command* command = findCommand(name);
    std::fprintf(stderr, "lumadisc: usage: lumadisc %s\n", command ? command->synopsis : name);
    return kExitUsage;
}

}  // namespace lumadisc::tool
