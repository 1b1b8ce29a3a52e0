// CloneCD images. The ".sub" reader also serves every other kind: the reader front tries it first
// whenever subchannel reading is on, with the ".sub" file beside whatever image is open.
#pragma once

#include "disc/reader_interfaces.h"
#include "formats/image_file.h"

namespace lumadisc {

class CCdClonecdSub final : public CCdVirtualSub {
public:
    int open() override;
    void close() override { file_.close(); }
    int read(Lba lba, uint8_t* block) override;

private:
    ImageFile file_;
};

extern CCdClonecdSub g_clonecdSub;

}  // namespace lumadisc
