#include <cstdio>

#include "tools/fixtures/demo_disc.h"
#include "tools/lumadisc/commands.h"

namespace lumadisc::tool {

int runMakeDemo(const Arguments& arguments) {
    if (arguments.size() != 1) {
        std::fprintf(stderr, "lumadisc: usage: lumadisc make-demo DIR\n");
        return kExitUsage;
    }
    std::string error;
    if (!fixtures::writeDemoDisc(arguments[0], &error)) {
        std::fprintf(stderr, "lumadisc: cannot write the demo disc: %s\n", error.c_str());
        return kExitFailure;
    }
    std::printf("%s/demo.cue\n", arguments[0].c_str());
    return kExitOk;
}

}  // namespace lumadisc::tool
