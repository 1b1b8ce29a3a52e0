// A host for the fault tests: runs the plugin's classic face in the current directory through a
// script of steps given as arguments, and prints one line per step, so that a test can preload the
// fault shim into a whole process and read what the host saw.
//   open              CDRinit and CDRopen
//   read:LBA          CDRreadTrack, then the result and the sector's first data bytes
//   truncate:PATH:N   cuts a file to N bytes while the disc is open
//   configure         CDRconfigure (the settings program is started and waited for)
//   close             CDRclose and CDRshutdown
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "host/classic_host.h"

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: fault_host PLUGIN STEP...\n");
        return 2;
    }
    lumadisc::host::ClassicHost host;
    if (!host.load(argv[1])) {
        std::fprintf(stderr, "fault_host: %s\n", host.error().c_str());
        return 1;
    }
    for (int i = 2; i < argc; ++i) {
        const std::string step = argv[i];
        if (step == "open") {
            host.api().init();
            std::printf("open %ld\n", host.api().open());
        } else if (step.rfind("read:", 0) == 0) {
            const lumadisc::Lba lba = std::atoi(step.c_str() + 5);
            const lumadisc::host::SectorRead read = host.readSector(lba);
            std::printf("read %d %ld %02x%02x%02x%02x\n", lba, read.result, read.data[0], read.data[1], read.data[2],
                        read.data[3]);
        } else if (step.rfind("truncate:", 0) == 0) {
            const size_t colon = step.rfind(':');
            const std::string path = step.substr(9, colon - 9);
            std::printf("truncate %d\n", truncate(path.c_str(), std::atoll(step.c_str() + colon + 1)));
        } else if (step == "configure") {
            std::printf("configure %ld\n", host.api().configure());
        } else if (step == "close") {
            host.api().close();
            host.api().shutdown();
            std::printf("closed\n");
        } else {
            std::fprintf(stderr, "fault_host: unknown step %s\n", step.c_str());
            return 2;
        }
        std::fflush(stdout);
    }
    return 0;
}
