#include "config/config_program.h"

#include <atomic>

namespace lumadisc {

namespace {
std::atomic<int> g_runs{0};
}

// The configuration program is not started yet; the request is only counted.
void runConfigProgram(const char*) { ++g_runs; }
int configProgramRuns() { return g_runs; }

}  // namespace lumadisc
