// The settings window: notebook pages Disc, Reading, Audio, Hot keys and Misc over the settings file.
#pragma once

namespace lumadisc::configprogram {

// Shows the window until OK (the file is saved: 0) or Cancel (the file is left as it was: 1); 2 when
// the display cannot be opened or the settings file cannot be used.
int runDialog(int argc, char** argv);

}  // namespace lumadisc::configprogram
