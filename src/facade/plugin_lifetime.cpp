#include "facade/plugin_lifetime.h"

#include "config/catalogue.h"
#include "config/config_program.h"
#include "config/log.h"
#include "config/message_file.h"
#include "config/settings.h"
#include "input/input_devices.h"
#include "support/list_pool.h"
#include "support/queue_pool.h"
#include "support/timers.h"

namespace lumadisc {

const char* const kPluginLogPath = "./lumaDisc.log";

void pluginStartUp(PluginFace face, CCdromControl& cdrom) {
    listPoolInit();
    queuePoolInit();
    timerInit();
    // Only the classic face polls input devices (its hot keys); the extended face's keys come from the
    // host.
    if (face == PluginFace::kClassic) {
        inputInit();
        messageFileInit();
    }
    catalogueInit();
    recentInit();
    cdrom.init();
}

void pluginShutDown(PluginFace face, CCdromControl& cdrom) {
    cdrom.shutdown();
    catalogueShutdown();
    recentShutdown();
    if (face == PluginFace::kClassic) {
        messageFileShutdown();
        inputShutdown();
    }
    timerShutdown();
    queuePoolShutdown();
    listPoolShutdown();
}

void pluginLoadSettingsAndLog(bool runConfigOnStart, const char* configDirectory) {
    settingsLoad(&g_settings);
    if (runConfigOnStart && g_settings.calldialogonstart) {
        runConfigProgram(configDirectory);
        settingsLoad(&g_settings);
    }
    logOpen(kPluginLogPath);
}

}  // namespace lumadisc
