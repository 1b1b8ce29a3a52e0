// The disc is opened through the same reader front the plugin uses, with the settings being edited,
// so what is shown is what the emulator will get.
#include "tools/config_program/disc_preview.h"

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
        reader.close();
    }
    reader.shutdown();
    return text;
}

}  // namespace lumadisc::configprogram
