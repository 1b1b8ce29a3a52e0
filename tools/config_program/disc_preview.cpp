// The disc is opened through the same reader front the plugin uses, with the settings being edited,
// so what is shown is what the emulator will get.
#include "tools/config_program/disc_preview.h"

#include <sys/stat.h>

#include <cstdio>
#include <mutex>

#include "reader/cd_read.h"
#include "reader/disc_kinds.h"

namespace lumadisc::configprogram {

std::string describeDisc(const Settings& settings, const std::string& path) {
    if (path.empty()) return "No disc: the console starts its BIOS shell";
    // The reader front reads its switches from the plugin's settings record. Only the table of contents
    // is looked at, so the sector cache (tens of megabytes) is not set up for it.
    Settings preview = settings;
    preview.caching = 0;
    settingsPublish(&g_settings, preview);
    std::lock_guard<std::mutex> lock(cdromMutex());
    CCdRead reader;
    if (reader.init() != 0) return "The reader could not start";
    std::string text;
    if (reader.open(path.c_str()) != 0 || !reader.isOpen()) {
        text = "This disc does not open (lumadisc info shows why)";
    } else {
        uint8_t tn[2] = {0, 0};
        reader.getTN(tn);
        const int tracks = tn[1] >= tn[0] ? tn[1] - tn[0] + 1 : 0;
        const DiscKind* kind = discKindOf(path.c_str());
        text = std::string(kind ? kind->name : "image") + ", " + std::to_string(tracks) +
               (tracks == 1 ? " track" : " tracks");
        // The track list as `lumadisc info` shows it: the type from the Q channel at each start.
        const auto msfOf = [&](int track) {
            uint8_t td[3] = {0, 0, 0};
            reader.getTD(static_cast<uint8_t>(track), td);
            return Msf{td[0], td[1], td[2]};
        };
        const Msf leadOut = msfOf(0);
        if (tracks > 0) text += "\n\ntrack  type   start     length";
        for (int track = tn[0]; tracks > 0 && track <= tn[1]; ++track) {
            const Msf start = msfOf(track);
            const Lba lba = lbaFromMsf(start), next = lbaFromMsf(track < tn[1] ? msfOf(track + 1) : leadOut);
            reader.setLoc(lba);
            reader.readSubs();
            const bool data = (reader.getSubs()[kSubchannelQOffset] & 0x40) != 0;
            char line[96];
            std::snprintf(line, sizeof line, "\n%5d  %-5s  %02d:%02d:%02d  %d sectors", track, data ? "data" : "audio",
                          start.minute, start.second, start.frame, next - lba);
            text += line;
        }
        char end[48];
        std::snprintf(end, sizeof end, "%slead-out %02d:%02d:%02d", tracks > 0 ? "\n" : "\n\n", leadOut.minute,
                      leadOut.second, leadOut.frame);
        text += end;
        reader.close();
    }
    reader.shutdown();
    return text;
}

bool discOpens(const Settings& settings, const std::string& path, std::string* why) {
    if (path.empty()) return true;
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
        *why = "a directory, not a disc image";
        return false;
    }
    const DiscKind* kind = discKindOf(path.c_str());
    if (kind == nullptr) {
        *why = "not a disc the plugin reads (.cue, .ccd, .mds, .toc, .chd, .exe, or a drive such as /dev/sr0)";
        return false;
    }
    Settings preview = settings;
    preview.caching = 0;
    settingsPublish(&g_settings, preview);
    std::lock_guard<std::mutex> lock(cdromMutex());
    CCdRead reader;
    reader.init();
    const bool opened = reader.open(path.c_str()) == 0 && reader.isOpen();
    reader.close();
    reader.shutdown();
    if (!opened) *why = std::string("the plugin cannot open it as a ") + kind->name + " (lumadisc --log info PATH shows why)";
    return opened;
}

}  // namespace lumadisc::configprogram
