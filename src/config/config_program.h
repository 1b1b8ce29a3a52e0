// Starts the configuration program in a working directory and waits for it to end.
#pragma once

namespace lumadisc {

void runConfigProgram(const char* workingDirectory);
// How many times the configuration program was asked for since load (for the host's checks).
int configProgramRuns();

}  // namespace lumadisc
