#include "audio/cd_play.h"

#include "config/log.h"

namespace lumadisc {

CCdPlay g_cdPlay;

// No streaming thread runs yet: play and stop only change the flags that the status report shows,
// so the emulated drive plays silently.

int CCdPlay::init() {
    logWrite(0, "[CDR] CCdPlay::init().\n");
    return 0;
}

void CCdPlay::shutdown() { logWrite(0, "[CDR] CCdPlay::shutdown().\n"); }

int CCdPlay::open() {
    logWrite(0, "[CDR] CCdPlay::open().\n");
    quit_ = 0;
    exited_ = 0;
    playing_ = 0;
    idle_ = 1;
    return 0;
}

void CCdPlay::close() { logWrite(0, "[CDR] CCdPlay::close().\n"); }

void CCdPlay::playCDDA() {
    logWrite(0, "[CDR] CCdPlay::playCDDA().\n");
    playing_ = 1;
    idle_ = 0;
}

void CCdPlay::stopCDDA() {
    logWrite(0, "[CDR] CCdPlay::stopCDDA().\n");
    playing_ = 0;
}

int CCdPlay::isCDDA() {
    logWrite(0, "[CDR] CCdPlay::isCDDA().\n");
    return playing_;
}

}  // namespace lumadisc
