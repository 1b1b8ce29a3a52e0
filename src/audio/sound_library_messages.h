// What the sound libraries print by themselves: OpenAL Soft's "AL lib:" lines and ALSA's "ALSA lib"
// lines go to the emulator's terminal unless told otherwise, nine of them on a machine without a sound
// card. With the plugin's logging off they are silenced; with it on, ALSA's go into the plugin's log
// and OpenAL's keep their own place (the terminal, or the file its ALSOFT_LOGFILE names).
#pragma once

namespace lumadisc {

// Before the sound device is opened: OpenAL Soft's level (ALSOFT_LOGLEVEL) is set to none unless the
// user set one or logging is on, and ALSA's error handler is installed (ALSA is loaded for it when
// OpenAL has not loaded it yet).
void soundMessagesRoute(bool logging);
// After the device is closed: ALSA's own handler is back, so that nothing of the plugin is called once
// it is unloaded.
void soundMessagesRestore();

}  // namespace lumadisc
