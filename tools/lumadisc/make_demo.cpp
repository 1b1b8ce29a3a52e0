// lumadisc make-demo: writes the demo disc, its executable and its copies in the other image kinds.
#include <cstdio>

#include "tools/fixtures/demo_disc.h"
#include "tools/fixtures/demo_disc_copies.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/psx_exe.h"
#include "tools/lumadisc/command_table.h"
#include "tools/lumadisc/commands.h"

namespace lumadisc::tool {

int runMakeDemo(const Arguments& arguments) {
    if (arguments.size() != 1) {
        return usageError("make-demo");
    }
    std::string error;
    if (!fixtures::writeDemoDisc(arguments[0], &error)) {
        std::fprintf(stderr, "lumadisc: cannot write the demo disc: %s\n", error.c_str());
        return kExitFailure;
    }
    // The demo executable on its own: as a disc path it opens as the executable disc.
    const std::string executable = fixtures::joinPath(arguments[0], "demo.exe");
    if (!fixtures::writeBytes(executable, fixtures::buildExecutable(), &error)) {
        std::fprintf(stderr, "lumadisc: cannot write the demo executable: %s\n", error.c_str());
        return kExitFailure;
    }
    // The same disc as a CloneCD and a full-TOC image, each in a directory of its own.
    const struct {
        const char* directory;
        fixtures::ImageKind kind;
    } copies[] = {{"ccd", fixtures::ImageKind::kClonecd}, {"toc", fixtures::ImageKind::kFullToc}};
    for (const auto& copy : copies) {
        if (!fixtures::writeDemoDiscAs(fixtures::joinPath(arguments[0], copy.directory), copy.kind, &error)) {
            std::fprintf(stderr, "lumadisc: cannot write the demo disc copies: %s\n", error.c_str());
            return kExitFailure;
        }
    }
    // And laid out one file per track, as players' images usually are.
    if (!fixtures::writeDemoDiscPerTrack(fixtures::joinPath(arguments[0], "split"), &error)) {
        std::fprintf(stderr, "lumadisc: cannot write the demo disc copies: %s\n", error.c_str());
        return kExitFailure;
    }
    std::printf("%s/demo.cue\n%s\n%s/ccd/demo.ccd\n%s/toc/demo.toc\n%s/split/demo.cue\n", arguments[0].c_str(),
                executable.c_str(), arguments[0].c_str(), arguments[0].c_str(), arguments[0].c_str());
    return kExitOk;
}

}  // namespace lumadisc::tool
