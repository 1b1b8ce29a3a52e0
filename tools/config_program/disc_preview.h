// What the plugin's reader front makes of a disc path: its kind and track count, shown before saving.
#pragma once

#include <string>

#include "config/settings.h"

namespace lumadisc::configprogram {

// "CUE sheet, 2 tracks", "no disc (bios shell)" or why the disc does not open.
std::string describeDisc(const Settings& settings, const std::string& path);
// Whether the plugin opens the disc at path (empty: no disc, which always opens); *why says why not.
bool discOpens(const Settings& settings, const std::string& path, std::string* why);

}  // namespace lumadisc::configprogram
