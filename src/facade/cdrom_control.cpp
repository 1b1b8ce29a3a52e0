#include "facade/cdrom_control.h"

#include <cstring>

#include "audio/cd_play.h"
#include "config/log.h"
#include "config/settings.h"
#include "reader/cd_read.h"

namespace lumadisc {

namespace {
using ReaderLock = std::lock_guard<std::mutex>;
}

int CCdromControl::init() {
    logWrite(kLogPlugin, "[CDR] CCdromControl::init().\n");
    if (g_cdRead.init() != 0) return -1;
    return g_cdPlay.init() == 0 ? 0 : -1;
}

void CCdromControl::shutdown() {
    logWrite(kLogPlugin, "[CDR] CCdromControl::shutdown().\n");
    g_cdPlay.shutdown();
    g_cdRead.shutdown();
}

int CCdromControl::open() {
    logWrite(kLogPlugin, "[CDR] CCdromControl::open().\n");
    // An open while a disc is open (the disc swap) ends CD audio before the reader changes discs.
    if (g_cdPlay.streaming()) g_cdPlay.close();
    {
        ReaderLock lock(cdromMutex());
        if (g_cdRead.open(g_settings.current) != 0) return -1;
    }
    return g_cdPlay.open() == 0 ? 0 : -1;
}

void CCdromControl::close() {
    logWrite(kLogPlugin, "[CDR] CCdromControl::close().\n");
    g_cdPlay.close();  // the thread ends first, outside the lock it takes per sector
    ReaderLock lock(cdromMutex());
    g_cdRead.close();
}

int CCdromControl::setLoc(Lba lba) {
    logWrite(kLogPlugin, "[CDR] CCdromControl::setLoc(%i).\n", lba);
    ReaderLock lock(cdromMutex());
    g_cdRead.setLoc(lba);
    return 0;
}

Lba CCdromControl::getLoc() {
    logWrite(kLogPlugin, "[CDR] CCdromControl::getLoc().\n");
    ReaderLock lock(cdromMutex());
    return g_cdRead.getLoc();
}

int CCdromControl::getDiscType() {
    logWrite(kLogPlugin, "[CDR] CCdromControl::getDiscType().\n");
    ReaderLock lock(cdromMutex());
    return g_cdRead.getDiscType();
}

int CCdromControl::getTN(uint8_t* buffer) {
    logWrite(kLogPlugin, "[CDR] CCdromControl::getTN().\n");
    ReaderLock lock(cdromMutex());
    return g_cdRead.getTN(buffer);
}

int CCdromControl::getTD(uint8_t track, uint8_t* buffer) {
    logWrite(kLogPlugin, "[CDR] CCdromControl::getTD(%i).\n", track);
    ReaderLock lock(cdromMutex());
    return g_cdRead.getTD(track, buffer);
}

int CCdromControl::readData() {
    logWrite(kLogPlugin, "[CDR] CCdromControl::readData().\n");
    g_cdPlay.stopCDDA();  // takes the lock itself, briefly: the streaming thread is then off the reader
    ReaderLock lock(cdromMutex());
    g_cdRead.readSubs();
    // The host's subchannel buffer shows this read at once: a host that kept the pointer from an
    // earlier CDRgetBufferSub reads the new block through it.
    std::memcpy(subs_, g_cdRead.getSubs(), sizeof subs_);
    return g_cdRead.readData();
}

uint8_t* CCdromControl::getDataBuffer() {
    logWrite(kLogPlugin, "[CDR] CCdromControl::getDataBuffer().\n");
    return g_cdRead.getData();
}

uint8_t* CCdromControl::getSubsBuffer() {
    logWrite(kLogPlugin, "[CDR] CCdromControl::getSubsBuffer().\n");
    ReaderLock lock(cdromMutex());
    std::memcpy(subs_, g_cdRead.getSubs(), sizeof subs_);
    return subs_;
}

void CCdromControl::playCDDA() {
    logWrite(kLogPlugin, "[CDR] CCdromControl::playCDDA().\n");
    g_cdPlay.playCDDA();
}

void CCdromControl::stopCDDA() {
    logWrite(kLogPlugin, "[CDR] CCdromControl::stopCDDA().\n");
    g_cdPlay.stopCDDA();
}

int CCdromControl::isCDDA() {
    logWrite(kLogPlugin, "[CDR] CCdromControl::isCDDA().\n");
    return g_cdPlay.isCDDA();
}

}  // namespace lumadisc
