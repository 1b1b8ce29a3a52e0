#include "reader/read_layers.h"

#include "config/settings.h"
#include "reader/sector_cache.h"

namespace lumadisc {

void CCdPatchedData::close() {
    inner_->close();
    patch_.release();
}

int CCdPatchedData::read(Lba lba, uint8_t* sector) {
    const int result = inner_->read(lba, sector);
    if (g_settings.ppfpatching) patch_.apply(lba, sector);
    return result;
}

void CCdCachedData::close() {
    inner_->close();
    cacheDataRelease();
}

int CCdCachedData::read(Lba lba, uint8_t* sector) {
    if (!g_settings.caching) return inner_->read(lba, sector);
    int32_t result = 0;
    if (cacheDataLookup(lba, sector, &result) == 0) return result;
    result = inner_->read(lba, sector);
    cacheDataStore(lba, sector, result);
    return result;
}

void CCdCachedSub::close() {
    inner_->close();
    cacheSubRelease();
}

int CCdCachedSub::read(Lba lba, uint8_t* block) {
    lastWasCached_ = false;
    if (!g_settings.caching) return inner_->read(lba, block);
    int32_t result = 0;
    if (cacheSubLookup(lba, block, &result) == 0) {
        lastWasCached_ = true;
        return result;
    }
    result = inner_->read(lba, block);
    cacheSubStore(lba, block, result);
    return result;
}

}  // namespace lumadisc
