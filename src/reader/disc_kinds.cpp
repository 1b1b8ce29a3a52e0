#include "reader/disc_kinds.h"

#include <sys/stat.h>

#include <cstring>
#include <string>

#include "disc/auto_sub.h"
#include "drive/drive_disc.h"
#include "formats/alcohol120.h"
#include "formats/cdrdao.h"
#include "formats/cdrdao_text.h"
#include "formats/cdrwin.h"
#include "formats/chd_image.h"
#include "formats/clonecd.h"
#include "formats/executable_disc.h"
#include "formats/null_disc.h"
#include "support/paths.h"

namespace lumadisc {

namespace {

constexpr const char* kNoDiscPath = "No CD (bios shell)";

bool isFullToc(const char* path) { return !isTextTocFile(path); }

const DiscKind kKinds[] = {
    {kDiscNone, "empty disc", nullptr, nullptr, nullptr, &g_nullToc, &g_nullData, &g_nullSub, nullptr},
    {kDiscDrive, "physical drive", nullptr, nullptr, describeDrive, nullptr, nullptr, nullptr, nullptr},
    {kDiscCue, "CUE sheet", ".cue", nullptr, describeCueSheet, nullptr, nullptr, nullptr, "*.cue"},
    {kDiscCcd, "CloneCD", ".ccd", nullptr, describeCloneCd, nullptr, nullptr, nullptr, "*.ccd"},
    {kDiscToc, "text TOC", ".toc", isTextTocFile, describeTextToc, nullptr, nullptr, nullptr, "*.toc"},
    {kDiscToc, "full TOC", ".toc", isFullToc, describeFullToc, nullptr, nullptr, nullptr, nullptr},
    {kDiscMds, "MDS descriptor", ".mds", nullptr, describeMds, nullptr, nullptr, nullptr, "*.mds"},
    {kDiscExecutable, "executable", ".exe", nullptr, describeExecutableDisc, nullptr, nullptr, nullptr, "*.exe"},
    {kDiscChd, "compressed image", ".chd", nullptr, describeChd, nullptr, nullptr, nullptr, "*.chd"},
};

bool endsWithOneOf(const char* path, const char* extensions) {
    const char* at = extensions;
    while (*at != '\0') {
        const char* end = std::strchr(at, ';');
        const std::string extension = end ? std::string(at, end) : std::string(at);
        if (endsWithNoCase(path, extension.c_str())) return true;
        if (!end) break;
        at = end + 1;
    }
    return false;
}

}  // namespace

std::span<const DiscKind> discKinds() { return kKinds; }

const DiscKind* discKindOf(const char* path) {
    if (std::strcmp(path, kNoDiscPath) == 0) return &kKinds[0];
    // A path without a dot names a drive, unless it is an ordinary file (a bare image without its
    // extension is no drive).
    if (std::strchr(path, '.') == nullptr) {
        struct stat status {};
        const bool file = stat(path, &status) == 0 && S_ISREG(status.st_mode);
        return file ? nullptr : &kKinds[1];
    }
    for (const DiscKind& kind : kKinds) {
        if (kind.extensions == nullptr || !endsWithOneOf(path, kind.extensions)) continue;
        if (kind.accepts == nullptr || kind.accepts(path)) return &kind;
    }
    return nullptr;
}

DiscType discTypeOfPath(const char* path) {
    const DiscKind* kind = discKindOf(path);
    return kind ? kind->type : kDiscUnknown;
}

}  // namespace lumadisc
