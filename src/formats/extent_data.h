// Main-channel sectors of a disc described by an extent table: each sector read from its file at
// its offset, and short sectors (2048 or 2336 bytes) framed into full raw sectors with sync, header,
// subheader and EDC/ECC, so that a host sees the sector as a drive would deliver it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "disc/extent_table.h"
#include "disc/reader_interfaces.h"
#include "formats/audio_file.h"
#include "formats/image_file.h"

namespace lumadisc {

class CCdExtentData : public CCdVirtualData {
public:
    explicit CCdExtentData(const ExtentTable& table) : table_(table) {}
    // Opens every file of the table; a file that cannot be opened fails with its log line.
    int open(const char* path) override;
    void close() override;
    // Outside the table the buffer is left as it is; a sector past the end of its file copies what
    // exists (raw forms) or frames zeros (short forms), with one warning per open naming the file, and
    // fails. 0, or -1 for such a sector or when the file read meets an I/O error (logged with the file
    // and the error).
    int read(Lba lba, uint8_t* sector) override;

    // The subchannel the image stores for lba, de-interleaved, when the extent holding it carries
    // one with a valid Q CRC; false (block untouched) otherwise.
    bool readStoredSubchannel(Lba lba, uint8_t* block);

private:
    // Reads from source `file` of the table, noting an I/O error and the first read past its end; a read
    // that comes back short fails the sector, unless it is framed user data that got some bytes.
    size_t readFile(size_t file, int64_t at, size_t size, uint8_t* out, Lba lba, bool framed = false);

    const ExtentTable& table_;
    bool failed_ = false;
    bool warnedEnd_ = false;
    std::vector<std::shared_ptr<ExtentSource>> sources_;
};

// The subchannel of an extent table: what the image stores for a sector when it stores a valid one
// and stored blocks are asked for, otherwise the table's generated block (track, index and relative
// time of every sector).
class CCdExtentSub final : public CCdVirtualSub {
public:
    CCdExtentSub(const ExtentTable& table, CCdExtentData& data) : table_(table), data_(data) {}
    int open(const char*) override { return 0; }
    void close() override {}
    // Whether the blocks the image stores are read (on when the settings ask for real subchannel data).
    void useStored(bool on) { useStored_ = on; }
    int read(Lba lba, uint8_t* block) override;

private:
    const ExtentTable& table_;
    CCdExtentData& data_;
    bool useStored_ = false;
};

}  // namespace lumadisc
