#include "reader/cd_read.h"

#include <cstring>

#include "config/log.h"
#include "config/settings.h"
#include "disc/auto_sub.h"
#include "drive/cdrom_drive.h"
#include "formats/cdrwin.h"
#include "formats/alcohol120.h"
#include "formats/cdrdao.h"
#include "formats/cdrdao_text.h"
#include "formats/sbi.h"
#include "formats/chd.h"
#include "formats/clonecd.h"
#include "formats/executable_disc.h"
#include "formats/null_disc.h"
#include "reader/sector_cache.h"
#include "support/paths.h"

namespace lumadisc {

CCdRead g_cdRead;

std::mutex& cdromMutex() {
    static std::mutex mutex;
    return mutex;
}

namespace {
constexpr const char* kNoDiscPath = "No CD (bios shell)";
}

DiscType discTypeOfPath(const char* path) {
    if (std::strcmp(path, kNoDiscPath) == 0) return kDiscNone;
    if (std::strchr(path, '.') == nullptr) return kDiscDrive;
    if (endsWithNoCase(path, ".cue")) return kDiscCue;
    if (endsWithNoCase(path, ".ccd")) return kDiscCcd;
    if (endsWithNoCase(path, ".toc")) return kDiscToc;
    if (endsWithNoCase(path, ".mds")) return kDiscMds;
    if (endsWithNoCase(path, ".exe")) return kDiscExecutable;
    if (endsWithNoCase(path, ".chd")) return kDiscChd;
    return kDiscUnknown;
}

int CCdRead::init() {
    logWrite(kLogPlugin, "[CDR] CCdRead::init().\n");
    return 0;
}

void CCdRead::shutdown() { logWrite(kLogPlugin, "[CDR] CCdRead::shutdown().\n"); }

bool CCdRead::bindKind(DiscType kind, const char* path) {
    ownSubDescribesDisc_ = false;
    switch (kind) {
    case kDiscCue:
        toc_ = &g_cdrwinToc;
        data_ = &g_cdrwinData;
        sub_ = &g_cdrwinSub;
        ownSubDescribesDisc_ = true;
        return true;
    case kDiscNone:
        toc_ = &g_nullToc;
        data_ = &g_nullData;
        sub_ = &g_nullSub;
        return true;
    case kDiscExecutable:
        toc_ = &g_autoToc;
        data_ = &g_executableData;
        sub_ = &g_autoSub;
        return true;
    case kDiscCcd:
        toc_ = &g_clonecdToc;
        data_ = &g_clonecdData;
        sub_ = &g_clonecdSub;
        return true;
    case kDiscMds:
        toc_ = &g_alcohol120Toc;
        data_ = &g_alcohol120Data;
        sub_ = &g_alcohol120Sub;
        return true;
    case kDiscToc:
        // Text TOC files and full-TOC files share the extension; their first bytes tell them apart.
        if (isTextTocFile(path)) {
            toc_ = &g_cdrdaoTextToc;
            data_ = &g_cdrdaoTextData;
            sub_ = &g_cdrdaoTextSub;
            ownSubDescribesDisc_ = true;
            return true;
        }
        toc_ = &g_cdrdaoToc;
        data_ = &g_cdrdaoData;
        sub_ = &g_cdrdaoSub;
        return true;
    case kDiscDrive:
        toc_ = &g_cdromToc;
        data_ = &g_cdromData;
        sub_ = &g_cdromSub;
        return true;
    case kDiscChd:
        toc_ = &g_chdToc;
        data_ = &g_chdData;
        sub_ = &g_chdSub;
        return true;
    default:
        logWrite(kLogPlugin, "[CDR] Error: unknown cd type: %i.\n", static_cast<int>(kind));
        return false;
    }
}

void CCdRead::chooseSubchannelSource(const char* path) {
    if (!g_settings.readsubchannels) {
        sub_ = &g_autoSub;
        sub_->open(path);
        return;
    }
    if (g_clonecdSub.open(path) == 0) {
        sub_ = &g_clonecdSub;
        return;
    }
    // The kind's own source is opened in passing; every disc without a ".sub" file is served by
    // the generated subchannel, so the kind's source is closed again at once. A compressed image
    // is the exception: the subchannel data it stores (when it stores any) is the disc's own.
    CCdVirtualSub* own = sub_;
    if (own->open(path) == 0) {
        // Kinds laid out as an extent table describe every sector's track and index themselves.
        if (ownSubDescribesDisc_ || own == &g_chdSub) return;
        own->close();
    }
    sub_ = &g_autoSub;
    sub_->open(path);
}

int CCdRead::open(const char* path) {
    if (toc_ || cachesBuilt_) close();  // a disc swap: the previous disc is released first
    logWrite(kLogPlugin, "[CDR] CCdRead::open().\n");
    if (!bindKind(discTypeOfPath(path), path)) return -1;
    if (toc_->open(path) != 0) return -1;
    if (data_->open(path) != 0) return -1;
    chooseSubchannelSource(path);
    if (g_subPatch.load(path)) {
        g_subPatch.wrap(sub_);
        sub_ = &g_subPatch;
    }
    loc_ = 0;
    std::memset(area_, 0, sizeof area_);
    if (g_settings.ppfpatching) patch_.load(path);
    if (g_settings.caching) {
        cacheDataInit(g_settings.cachinglevel);
        cacheSubInit(g_settings.cachinglevel);
        cachesBuilt_ = true;
    }
    return 0;
}

void CCdRead::close() {
    logWrite(kLogPlugin, "[CDR] CCdRead::close().\n");
    if (toc_) toc_->close();
    if (data_) data_->close();
    if (sub_) sub_->close();
    toc_ = nullptr;
    data_ = nullptr;
    sub_ = nullptr;
    patch_.release();
    if (cachesBuilt_) {
        cacheDataRelease();
        cacheSubRelease();
        cachesBuilt_ = false;
    }
}

int CCdRead::getDiscType() {
    logWrite(kLogPlugin, "[CDR] CCdRead::getDiscType().\n");
    return toc_ ? toc_->getDiscType() : -1;
}

int CCdRead::getTN(uint8_t* buffer) {
    logWrite(kLogPlugin, "[CDR] CCdRead::getTN().\n");
    if (toc_) toc_->getTN(buffer);
    return 0;
}

int CCdRead::getTD(uint8_t track, uint8_t* buffer) {
    logWrite(kLogPlugin, "[CDR] CCdRead::getTD(%i).\n", track);
    if (toc_) {
        toc_->getTD(track, buffer);
    } else {
        buffer[0] = buffer[1] = buffer[2] = 0;
    }
    return 0;
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
    int32_t result = 0;
    if (cachesBuilt_ && g_settings.caching && cacheDataLookup(loc_, sector, &result) == 0) return result;
    if (!data_) return -1;  // no disc open: the sector keeps what it holds
    result = data_->read(loc_, sector);
    if (g_settings.ppfpatching) patch_.apply(loc_, sector);
    if (cachesBuilt_ && g_settings.caching) cacheDataStore(loc_, sector, result);
    return result;
}

int CCdRead::readSubs() {
    logWrite(kLogPlugin, "[CDR] CCdRead::readSubs().\n");
    uint8_t* block = area_ + kRawSectorSize;
    generateSubchannel(loc_, block);
    int32_t result = 0;
    if (cachesBuilt_ && g_settings.caching && cacheSubLookup(loc_, block, &result) == 0) return result;
    if (!sub_) return 0;
    result = sub_->read(loc_, block);
    if (result != 0) logWrite(kLogPlugin, "[CDR] Error: subchannel reading, generate fake subchannels.\n");
    if (cachesBuilt_ && g_settings.caching) cacheSubStore(loc_, block, result);
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
