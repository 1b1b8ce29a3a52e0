// The start-up and shut-down order that both faces share: container pools, stopwatches, input
// devices, the message file (classic face only), the catalogue lists and the facade; and the first
// steps of every disc open: the settings and the log.
#pragma once

#include "facade/cdrom_control.h"

namespace lumadisc {

enum class PluginFace { kClassic, kExtended };

// The log file both faces open in the host's working directory.
extern const char* const kPluginLogPath;  // "./lumaDisc.log"

void pluginStartUp(PluginFace face, CCdromControl& cdrom);
// The reverse of pluginStartUp.
void pluginShutDown(PluginFace face, CCdromControl& cdrom);
// Loads the settings and opens the log. With `runConfigOnStart` and "misc:calldialogonstart" set,
// the configuration program runs first (in configDirectory) and the settings are loaded again.
void pluginLoadSettingsAndLog(bool runConfigOnStart, const char* configDirectory);

}  // namespace lumadisc
