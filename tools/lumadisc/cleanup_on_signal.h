// What the tool leaves on disc while it works (its scratch directory, a half-written output file) is
// removed when the tool is stopped by SIGINT, SIGTERM or SIGHUP, as it is when a command ends.
#pragma once

#include <atomic>
#include <string>

namespace lumadisc::tool {

// Blocks the three signals in every thread started from here on and waits for them on a thread of
// its own, which removes what is registered and ends the process with 128 + the signal number.
// Call once, before any other thread starts.
void installCleanupOnSignal();
// A command that stops cleanly by itself (a rip restores the drive, removes its parts and says so)
// asks to be told instead: while a flag is set here, a signal sets it to the signal's number and the
// process goes on; nullptr returns to removing and ending.
void interruptOnSignal(std::atomic<int>* flag);
// A file or directory tree to remove on a signal; forget it once it is removed or kept.
void removeOnSignal(const std::string& path);
void forgetOnSignal(const std::string& path);

}  // namespace lumadisc::tool
