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
    // exists (raw forms) or frames zeros (short forms), with one warning per open naming the file.
    // 0, or -1 when the file read meets an I/O error (logged with the file and the error).
    int read(Lba lba, uint8_t* sector) override;

private:
    // Reads from file `file` of the table, noting an I/O error and the first read past its end.
    size_t readFile(size_t file, int64_t at, size_t size, uint8_t* out, Lba lba);

    const ExtentTable& table_;
    bool failed_ = false;
    bool warnedEnd_ = false;
    std::vector<std::unique_ptr<ImageFile>> files_;
    std::vector<std::unique_ptr<AudioFile>> sounds_;
};

// The generated subchannel of an extent table: track, index and relative time of every sector.
class CCdExtentSub final : public CCdVirtualSub {
public:
    explicit CCdExtentSub(const ExtentTable& table) : table_(table) {}
    int open(const char*) override { return 0; }
    void close() override {}
    int read(Lba lba, uint8_t* block) override;

private:
    const ExtentTable& table_;
};

}  // namespace lumadisc
