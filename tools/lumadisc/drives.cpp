// lumadisc drives: every optical drive (or the devices named) with its identity and whether a disc is in it.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "tools/common/drive_probe.h"
#include "src/drive/sense_messages.h"
#include "tools/lumadisc/commands.h"

namespace lumadisc::tool {

namespace {

// The device node of every optical drive the kernel lists ("sr0" ... under /sys/class/block).
std::vector<std::string> listedDrives() {
    std::vector<std::string> paths;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/sys/class/block", error)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("sr", 0) == 0) paths.push_back("/dev/" + name);
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::string discState(const DriveIdentity& identity) {
    if (identity.discReady) return "disc in the drive";
    const SenseCodes& sense = identity.notReady;
    if (sense.key == 0x02 && sense.asc == 0x3A) return "no disc";
    const char* text = senseCodeText(sense.asc, sense.ascq);
    return std::string("not ready (") + senseKeyName(sense.key) + (text ? std::string(", ") + text : "") + ")";
}

}  // namespace

int runDrives(const CommonOptions&, const Arguments& arguments) {
    const bool named = !arguments.empty();
    const std::vector<std::string> paths = named ? arguments : listedDrives();
    int found = 0;
    for (const std::string& path : paths) {
        const DriveIdentity identity = driveProbe(path.c_str());
        if (!identity.drive) {
            std::fprintf(stderr, "lumadisc: %s: %s\n", path.c_str(),
                         named ? "not an optical drive" : "cannot be opened (no access, or no drive behind it)");
            continue;
        }
        ++found;
        std::printf("%s  %s %s (revision %s)  %s\n", path.c_str(), identity.vendor.c_str(), identity.product.c_str(),
                    identity.revision.c_str(), discState(identity).c_str());
    }
    if (found == 0) std::fprintf(stderr, "lumadisc: no optical drive found\n");
    return found > 0 ? kExitOk : kExitFailure;
}

}  // namespace lumadisc::tool
