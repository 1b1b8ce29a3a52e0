// lumadisc info: the disc's kind, the plugin used, the disc type and every track.
#include <cstdio>

#include "tools/lumadisc/commands.h"

namespace lumadisc::tool {

int runInfo(const CommonOptions& options, const Arguments& arguments) {
    if (arguments.size() > 1) {
        std::fprintf(stderr, "lumadisc: info takes at most one disc\n");
        return kExitUsage;
    }
    Session session(options);
    if (const int code = session.start(arguments.empty() ? "" : arguments[0]); code != kExitOk) return code;
    host::ClassicHost& host = session.classic();
    CdrStat status{};
    host.api().getStatus(&status);
    const auto tracks = host.tracks();
    const Lba leadOut = host.leadOut();

    std::printf("disc:      %s\n", session.disc().c_str());
    std::printf("kind:      %s\n", discKindName(session.disc()).c_str());
    std::printf("plugin:    %s\n", session.plugin().c_str());
    std::printf("disc type: %s\n", status.Type == 1 ? "data (1)" : "audio or empty (2)");
    std::printf("tracks:    %zu\n", tracks.size());
    std::printf("lead-out:  %s  LBA %d\n", msfText(msfFromLba(leadOut)).c_str(), leadOut);
    std::printf("track  type   start     LBA       length\n");
    for (const auto& track : tracks) {
        std::printf("%5d  %-5s  %s  %-8d  %d\n", track.number, track.audio ? "audio" : "data",
                    msfText(track.start).c_str(), track.lba, track.length);
    }
    return kExitOk;
}

}  // namespace lumadisc::tool
