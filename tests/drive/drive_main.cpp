// The drive tests run with the emulated drive preloaded, since it must be in place before the plugin
// opens a device. A process started without it starts itself again under it.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
    if (dlsym(RTLD_DEFAULT, "lumadisc_emulated_drive_present") == nullptr) {
        if (std::getenv("LUMADISC_DRIVE_TESTS_RESTARTED")) {
            std::fprintf(stderr, "drive_tests: the emulated drive %s did not load\n", LUMADISC_DRIVE_SHIM_PATH);
            return 1;
        }
        std::string preload = LUMADISC_DRIVE_SHIM_PATH;
        if (const char* before = std::getenv("LD_PRELOAD"); before && *before) preload += std::string(":") + before;
        setenv("LD_PRELOAD", preload.c_str(), 1);
        setenv("LUMADISC_DRIVE_TESTS_RESTARTED", "1", 1);
        // A sanitized build links its runtime first; with the drive ahead of it the runtime must not
        // insist on being first (it still intercepts what the drive passes on).
        std::string asan = "verify_asan_link_order=0";
        if (const char* options = std::getenv("ASAN_OPTIONS"); options && *options) asan = std::string(options) + ":" + asan;
        setenv("ASAN_OPTIONS", asan.c_str(), 1);
        execv("/proc/self/exe", argv);
        std::perror("drive_tests: cannot start again with the emulated drive");
        return 1;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
