// What the leak checker of a sanitizer build leaves out of its report for the settings program: memory
// the toolkit's own libraries keep until the process ends. Every entry names a library, never a
// function of ours, so a leak in the program's own code is still reported.

// The toolkit's libraries are built without frame pointers: the fast unwinder stops at g_malloc, and a
// stack cut there names no library to match. The full unwinder finds the library that allocated; it
// costs on every allocation, so it looks only as deep as a match needs (the allocating library lies
// within the first frames).
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "fast_unwind_on_malloc=0:malloc_context_size=6";
}

extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    // Font configuration: cached until the process ends and never freed.
    // The accessibility bridge and the session bus it looks for: connection state kept for the process,
    // allocated partly through GLib, so the bridge's and D-Bus's libraries are named, not g_malloc.
    return "leak:libfontconfig.so\n"
           "leak:libatk-bridge-2.0.so\n"
           "leak:libatspi.so\n"
           "leak:libdbus-1.so\n";
}
