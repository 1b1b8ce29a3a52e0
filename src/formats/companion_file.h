// Companion files of the disc: the disc path with its extension replaced (".bin",
// ".img", ".sub", ".mdf", ".ppf").
#pragma once

#include <cstdint>

#include "disc/reader_interfaces.h"
#include "formats/image_file.h"

namespace lumadisc {

// Writes the companion path of imagePath into path (kPathCapacity bytes); false when it would not
// fit, path then holding imagePath as it is.
bool companionPathOf(const char* imagePath, const char* extension, char* path);

// Main-channel sectors from a companion file: sector n is the first 2352 bytes of record n of
// `stride` bytes. A read past the end copies what exists and leaves the rest of the buffer (with one
// warning per open, naming the file); a read that meets an I/O error fails.
class CCdSectorFileData : public CCdVirtualData {
public:
    int open(const char* path) override;
    void close() override { file_.close(); }
    int read(Lba lba, uint8_t* sector) override;

protected:
    // failureFormat: the log line (with one %s for the path) when the file cannot be opened.
    CCdSectorFileData(const char* extension, int32_t stride, const char* failureFormat)
        : extension_(extension), stride_(stride), failureFormat_(failureFormat) {}
    ~CCdSectorFileData() = default;

private:
    const char* const extension_;
    const int32_t stride_;
    const char* const failureFormat_;
    ImageFile file_;
    bool warnedEnd_ = false;
};

}  // namespace lumadisc
