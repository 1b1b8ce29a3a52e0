// The executable disc, chosen by a disc path ending in ".exe": one data track whose first 23 sectors
// come from the built-in template (a file system naming "PSX.EXE;1" at Lba 23) and whose later
// sectors are made on the fly from the executable file, 2048 bytes each.
#pragma once

#include "disc/reader_interfaces.h"
#include "disc/table_toc.h"
#include "formats/image_file.h"

namespace lumadisc {

class CCdAutoToc final : public CCdTableToc {
public:
    CCdAutoToc() : CCdTableToc(true) {}
    // Row 0: the lead-out at the end of the template's volume; row 1: the data track at Lba 0.
    int open(const char* path) override;
};

class CCdExecutableData final : public CCdVirtualData {
public:
    // Opens the disc path itself, the executable.
    int open(const char* path) override;
    void close() override { file_.close(); }
    // Lba 0..22: the template sector. From Lba 23: a Form 1 header and subheader, then the
    // executable's bytes from (lba - 23) * 2048; no EDC/ECC, and past the end of the file the data
    // area keeps what it held. A negative Lba lies before the disc and fails with -1, untouched.
    int read(Lba lba, uint8_t* sector) override;

private:
    ImageFile file_;
};

extern CCdAutoToc g_autoToc;
extern CCdExecutableData g_executableData;

}  // namespace lumadisc
