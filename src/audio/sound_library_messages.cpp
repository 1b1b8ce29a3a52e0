#include "audio/sound_library_messages.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "config/log.h"

namespace lumadisc {

namespace {

// ALSA's handler type and setter (alsa/error.h), looked up at run time: the plugin does not link ALSA.
using AlsaErrorHandler = void (*)(const char* file, int line, const char* function, int error, const char* format, ...);
using AlsaSetHandler = int (*)(AlsaErrorHandler handler);

void* g_alsa = nullptr;
AlsaSetHandler g_setHandler = nullptr;

void silent(const char*, int, const char*, int, const char*, ...) {}

void toLog(const char*, int, const char* function, int, const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    logWrite(kLogPlugin, "[CDR] ALSA: %s: %s.\n", function ? function : "", text);
}

}  // namespace

void soundMessagesRoute(bool logging) {
    if (!logging) setenv("ALSOFT_LOGLEVEL", "0", 0);  // a level the user chose stays
    if (g_alsa == nullptr) g_alsa = dlopen("libasound.so.2", RTLD_NOW | RTLD_LOCAL);
    if (g_alsa == nullptr) return;  // no ALSA: nothing of it will print
    g_setHandler = reinterpret_cast<AlsaSetHandler>(dlsym(g_alsa, "snd_lib_error_set_handler"));
    if (g_setHandler) g_setHandler(logging ? toLog : silent);
}

void soundMessagesRestore() {
    if (g_setHandler) g_setHandler(nullptr);
    g_setHandler = nullptr;
    if (g_alsa) dlclose(g_alsa);
    g_alsa = nullptr;
}

}  // namespace lumadisc
