// CloneCD images: a ".ccd" control file in INI form, a ".img" data file of 2352-byte sectors and an
// optional ".sub" file of 96-byte subchannel blocks. The ".sub" reader also serves every other kind:
// the reader front tries it first whenever subchannel reading is on, with the ".sub" file beside
// whatever image is open.
#pragma once

#include <vector>

#include "disc/reader_interfaces.h"
#include "disc/track_table.h"
#include "formats/companion_file.h"
#include "formats/extent_disc.h"

namespace lumadisc {

// Loads the control file at path and appends one row per track "TRACK 1", "TRACK 2", ... (up to 99,
// stopping at the first track without an "INDEX 1" key); row 0 is not touched. -1 when the INI
// library cannot load the file. gapStarts, when given, receives each track's "INDEX 0" (its own start
// when it has none).
int clonecdReadControl(const char* path, TrackTable& table, std::vector<Lba>* gapStarts = nullptr);

// Describes the control file at path and its ".img" (2352-byte sectors); 0, or -1 after its log line.
int describeCloneCd(const char* path, DiscDescription& disc);

class CCdClonecdSub final : public CCdVirtualSub {
public:
    int open(const char* path) override;
    void close() override { file_.close(); }
    int read(Lba lba, uint8_t* block) override;

private:
    ImageFile file_;
};

extern CCdClonecdSub g_clonecdSub;

}  // namespace lumadisc
