#include "reader/cd_read.h"

#include <cstring>

#include "config/log.h"
#include "config/settings.h"
#include "disc/auto_sub.h"
#include "formats/clonecd.h"
#include "formats/extent_disc.h"
#include "formats/sbi.h"
#include "reader/disc_kinds.h"
#include "reader/read_layers.h"
#include "reader/sector_cache.h"
#include "support/paths.h"

namespace lumadisc {

CCdRead g_cdRead;

std::mutex& cdromMutex() {
    static std::mutex mutex;
    return mutex;
}

int CCdRead::init() {
    logWrite(kLogPlugin, "[CDR] CCdRead::init().\n");
    return 0;
}

void CCdRead::shutdown() { logWrite(kLogPlugin, "[CDR] CCdRead::shutdown().\n"); }

bool CCdRead::bindKind(const char* path) {
    const DiscKind* kind = discKindOf(path);
    if (kind == nullptr) {
        logWrite(kLogPlugin, "[CDR] Error: unknown cd type: %i.\n", static_cast<int>(kDiscUnknown));
        return false;
    }
    extentKind_ = kind->describe != nullptr;
    if (extentKind_) {
        g_extentToc.bind(kind->describe);
        toc_ = &g_extentToc;
        data_ = &g_extentData;
        sub_ = &g_extentSub;
    } else {
        toc_ = kind->toc;
        data_ = kind->data;
        sub_ = kind->sub;
    }
    return true;
}

void CCdRead::chooseSubchannelSource(const char* path) {
    // A ".sub" file beside the image comes first when real subchannel data is asked for; then what
    // the image stores itself, and otherwise the generated block. A disc laid out as extents
    // generates the block from its table (track, index, relative time); the other kinds generate
    // one data track.
    if (g_settings.readsubchannels && g_clonecdSub.open(path) == 0) {
        sub_ = &g_clonecdSub;
        return;
    }
    if (extentKind_) {
        g_extentSub.useStored(g_settings.readsubchannels != 0);
        sub_ = &g_extentSub;
        return;
    }
    sub_ = &g_autoSub;
    sub_->open(path);
}

int CCdRead::open(const char* path) {
    if (toc_) close();  // a disc swap: the previous disc is released first
    logWrite(kLogPlugin, "[CDR] CCdRead::open().\n");
    if (!bindKind(path)) return -1;
    if (toc_->open(path) != 0 || data_->open(path) != 0) {
        // Nothing stays half-open: the kind's readers are closed and unbound.
        releaseReaders();
        return -1;
    }
    chooseSubchannelSource(path);
    // The layers, bottom up (see read_layers.h).
    if (g_subPatch.load(path)) {
        g_subPatch.wrap(sub_);
        sub_ = &g_subPatch;
    }
    if (g_settings.ppfpatching && patchedData_.load(path)) {
        patchedData_.wrap(data_);
        data_ = &patchedData_;
    }
    if (g_settings.caching) {
        cacheDataInit(g_settings.cachinglevel);
        cacheSubInit(g_settings.cachinglevel);
        cachedData_.wrap(data_);
        data_ = &cachedData_;
        cachedSub_.wrap(sub_);
        sub_ = &cachedSub_;
    }
    loc_ = 0;
    std::memset(area_, 0, sizeof area_);
    return 0;
}

void CCdRead::close() {
    logWrite(kLogPlugin, "[CDR] CCdRead::close().\n");
    releaseReaders();
}

void CCdRead::releaseReaders() {
    if (toc_) toc_->close();
    if (data_) data_->close();
    if (sub_) sub_->close();
    toc_ = nullptr;
    data_ = nullptr;
    sub_ = nullptr;
}

int CCdRead::getDiscType() {
    logWrite(kLogPlugin, "[CDR] CCdRead::getDiscType().\n");
    return toc_ ? toc_->getDiscType() : -1;
}

// The reader's answer reaches the faces: -1 without a disc or a track, so that the classic face
// reports the failure and the controller gives its error answer.
int CCdRead::getTN(uint8_t* buffer) {
    logWrite(kLogPlugin, "[CDR] CCdRead::getTN().\n");
    return toc_ ? toc_->getTN(buffer) : -1;
}

int CCdRead::getTD(uint8_t track, uint8_t* buffer) {
    logWrite(kLogPlugin, "[CDR] CCdRead::getTD(%i).\n", track);
    if (toc_) return toc_->getTD(track, buffer);
    buffer[0] = buffer[1] = buffer[2] = 0;
    return -1;
}

int CCdRead::setLoc(Lba lba) {
    logWrite(kLogPlugin, "[CDR] CCdRead::setLoc(%i).\n", lba);
    loc_ = lba;
    return 0;
}

Lba CCdRead::getLoc() {
    logWrite(kLogPlugin, "[CDR] CCdRead::getLoc().\n");
    return loc_;
}

void CCdRead::nextLoc() {
    ++loc_;
    logWrite(kLogPlugin, "[CDR] CCdRead::nextLoc() : %i.\n", loc_);
}

int CCdRead::readData() { return readDataInto(area_); }

int CCdRead::readDataInto(uint8_t* sector) {
    logWrite(kLogPlugin, "[CDR] CCdRead::readData().\n");
    if (!data_) return -1;  // no disc open: the sector keeps what it holds
    return data_->read(loc_, sector);
}

int CCdRead::readSubs() {
    logWrite(kLogPlugin, "[CDR] CCdRead::readSubs().\n");
    uint8_t* block = area_ + kRawSectorSize;
    generateSubchannel(loc_, block);
    if (!sub_) return 0;
    const int result = sub_->read(loc_, block);
    const bool cached = sub_ == &cachedSub_ && cachedSub_.lastWasCached();
    if (result != 0 && !cached) logWrite(kLogPlugin, "[CDR] Error: subchannel reading, generate fake subchannels.\n");
    return result;
}

uint8_t* CCdRead::getData() {
    logWrite(kLogPlugin, "[CDR] CCdRead::getData().\n");
    return area_;
}

uint8_t* CCdRead::getSubs() {
    logWrite(kLogPlugin, "[CDR] CCdRead::getSubs().\n");
    return area_ + kRawSectorSize;
}

}  // namespace lumadisc
