// The reader front: chooses the disc kind from the configured path, binds that kind's readers,
// and reads every sector and subchannel block through the patch set and the caches.
#pragma once

#include <cstdint>
#include <mutex>

#include "disc/disc_model.h"
#include "disc/reader_interfaces.h"
#include "reader/read_layers.h"

namespace lumadisc {

// The one lock around the reader front, owned by the facade above it. The host's thread takes it for
// every reader operation made through the facade, the CD audio streaming thread for each sector it
// plays, and a disc swap for the reopening; nobody waits for another thread while holding it.
std::mutex& cdromMutex();

class CCdRead {
public:
    int init();
    void shutdown();
    // Opens the disc at path (the settings' current disc, handed down by the facade); a disc still
    // open is closed first.
    int open(const char* path);
    void close();
    int getDiscType();
    int getTN(uint8_t* buffer);
    int getTD(uint8_t track, uint8_t* buffer);
    int setLoc(Lba lba);
    Lba getLoc();
    void nextLoc();
    // Reads the sector at the current position into the reader's own area (getData), or into a
    // buffer of the caller's: the CD audio thread reads into its own, so that a pointer the host got
    // from getData is never rewritten behind the host's back.
    int readData();
    int readDataInto(uint8_t* sector);
    int readSubs();
    uint8_t* getData();
    uint8_t* getSubs();

    bool isOpen() const { return toc_ != nullptr; }

private:
    bool bindKind(const char* path);
    void releaseReaders();
    void chooseSubchannelSource(const char* path);

    CCdVirtualToc* toc_ = nullptr;
    CCdVirtualData* data_ = nullptr;
    CCdVirtualSub* sub_ = nullptr;
    bool extentKind_ = false;  // the bound kind is described as extents
    Lba loc_ = 0;
    alignas(16) uint8_t area_[kRawSectorSize + kSubchannelSize] = {};
    CCdPatchedData patchedData_;
    CCdCachedData cachedData_;
    CCdCachedSub cachedSub_;
};

extern CCdRead g_cdRead;

}  // namespace lumadisc
