#include "formats/ppf_patch.h"

#include "formats/companion_file.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "config/log.h"
#include "formats/image_file.h"
#include "support/paths.h"

namespace lumadisc {

namespace {

// Byte 57 of the header: in version 3 nonzero when a 1024-byte block-check area precedes the records.
constexpr uint32_t kBlockCheckByte = 57;
constexpr int64_t kVersion1RecordsStart = 56;
constexpr int64_t kVersion3RecordsStart = 60;
constexpr int64_t kBlockCheckRecordsStart = 1084;  // versions 2, and 3 with the block-check area
// The patch is read where its records are, never whole; the index of its runs is what memory holds,
// and it has a bound (a real patch has thousands of records, not millions).
constexpr size_t kMaxRuns = 1 << 21;
constexpr int64_t kMaxPatchBytes = 256LL << 20;

// The sector holding a byte offset of the image, rounding towards minus infinity.
int64_t sectorOf(int64_t offset) {
    int64_t sector = offset / kRawSectorSize;
    if (offset % kRawSectorSize < 0) --sector;
    return sector;
}

}  // namespace

int CCdPpfPatch::load(const char* imagePath) {
    empty();
    if (imagePath == nullptr) return -1;
    char path[kPathCapacity];
    if (!companionPathOf(imagePath, ".ppf", path)) return -1;

    const int64_t fileSize = ImageFile::sizeOf(path);
    if (fileSize < 0) return -1;  // no patch beside the image: nothing to say
    if (!file_.open(path)) {
        logWrite(kLogPlugin, "[CDR] Warning: not open (%s).\n", path);
        return -1;
    }
    // A real patch is a few megabytes; one far larger is no patch to walk at every disc open.
    if (fileSize > kMaxPatchBytes) {
        logWrite(kLogPlugin, "[CDR] Error: ppf patch larger than %lld MB (%s), not used.\n",
                 static_cast<long long>(kMaxPatchBytes >> 20), path);
        file_.close();
        return -1;
    }
    // Offsets within the patch are kept in 32 bits; a larger file counts as one that cannot be read.
    if (fileSize > std::numeric_limits<uint32_t>::max()) {
        logWrite(kLogPlugin, "cdrplugin error: reading file (%s).\n", path);
        file_.close();
        return -1;
    }
    size_ = static_cast<uint32_t>(fileSize);
    uint8_t head[kBlockCheckByte + 1] = {};
    if (file_.readAt(0, std::min<size_t>(sizeof head, size_), head) != std::min<size_t>(sizeof head, size_) ||
        file_.readFailed()) {
        logWrite(kLogPlugin, "cdrplugin error: reading file (%s).\n", path);
        empty();
        return -1;
    }

    static const char* const kSignatures[] = {"PPF1", "PPF2", "PPF3"};
    version_ = -1;
    for (int32_t i = 0; i < 3 && size_ >= 4; ++i) {
        if (std::memcmp(head, kSignatures[i], 4) == 0) {
            version_ = i + 1;
            break;
        }
    }
    if (version_ < 0) {
        logWrite(kLogPlugin, "[CDR] Error: patchfile is no ppf patch.\n");
        return -1;
    }
    blockCheck_ = size_ > kBlockCheckByte ? head[kBlockCheckByte] : 0;
    readDescriptionLength();
    buildIndex();
    return 0;
}

void CCdPpfPatch::apply(Lba lba, uint8_t* sector) {
    if (size_ == 0) return;
    if (version_ < 1 || version_ > 3) {
        logWrite(kLogPlugin, "[CDR] error: unknown ppf type.\n");
        return;
    }
    if (sector == nullptr) return;
    const auto byLba = [](const Run& run, Lba value) { return run.lba < value; };
    for (auto run = std::lower_bound(runs_.begin(), runs_.end(), lba, byLba); run != runs_.end() && run->lba == lba;
         ++run) {
        // The run's bytes are read from the patch file where they stand; a short read writes what came.
        file_.readAt(run->source, run->length, sector + run->start);
    }
}

int CCdPpfPatch::release() {
    empty();
    return 0;
}

void CCdPpfPatch::empty() {
    size_ = 0;
    file_.close();
    version_ = 0;
    blockCheck_ = 0;
    descriptionLength_ = 0;
    runs_.clear();
    runs_.shrink_to_fit();
}

// A description block ends the file when ".DIZ" stands right before its length field, which is
// 4 bytes wide in version 2 and 2 bytes wide otherwise.
void CCdPpfPatch::readDescriptionLength() {
    descriptionLength_ = 0;
    const uint32_t width = version_ == 2 ? 4 : 2;
    if (size_ < width + 4) return;
    uint8_t tail[8] = {};
    if (file_.readAt(size_ - width - 4, width + 4, tail) != width + 4) return;
    const uint8_t* field = tail + 4;
    if (std::memcmp(tail, ".DIZ", 4) != 0) return;
    // The 4-byte length is signed; the 2-byte one cannot be negative.
    const int64_t described = width == 4 ? static_cast<int64_t>(static_cast<int32_t>(readLe32(field)))
                                         : static_cast<int64_t>(field[0] | field[1] << 8);
    const int64_t length = described + (version_ == 2 ? 38 : 36);
    if (length < 0) {
        logWrite(kLogPlugin, "[CDR] Error: idlen in ppf system < 0 (%i),", static_cast<int>(length));
        return;
    }
    descriptionLength_ = static_cast<int32_t>(std::min<int64_t>(length, std::numeric_limits<int32_t>::max()));
}

// Walks the record area once, in file order, and keeps each record's bytes that fall inside the
// sector where it starts. A record that does not end inside the area ends the walk.
void CCdPpfPatch::buildIndex() {
    const bool wideOffsets = version_ == 3;
    const int64_t first = version_ == 1   ? kVersion1RecordsStart
                          : version_ == 2 ? kBlockCheckRecordsStart
                          : blockCheck_   ? kBlockCheckRecordsStart
                                          : kVersion3RecordsStart;
    const int64_t end = version_ == 1 ? static_cast<int64_t>(size_) : static_cast<int64_t>(size_) - descriptionLength_;
    const int64_t header = wideOffsets ? 9 : 5;
    uint8_t bytes[9];
    for (int64_t at = first; at + header <= end;) {
        if (file_.readAt(at, static_cast<size_t>(header), bytes) != static_cast<size_t>(header)) break;
        const int64_t offset = wideOffsets ? static_cast<int64_t>(readLe64(bytes))
                                           : static_cast<int64_t>(static_cast<int32_t>(readLe32(bytes)));
        const int64_t count = bytes[header - 1];
        if (at + header + count > end) break;
        const int64_t sector = sectorOf(offset);
        if (runs_.size() >= kMaxRuns) {
            logWrite(kLogPlugin, "[CDR] Warning: ppf patch has more than %zu records; the rest is not applied.\n",
                     kMaxRuns);
            break;
        }
        if (count > 0 && sector >= std::numeric_limits<Lba>::min() && sector <= std::numeric_limits<Lba>::max()) {
            const int64_t start = offset - sector * kRawSectorSize;
            runs_.push_back(Run{static_cast<Lba>(sector), static_cast<uint32_t>(at + header),
                                static_cast<uint16_t>(start),
                                static_cast<uint16_t>(std::min<int64_t>(count, kRawSectorSize - start))});
        }
        at += header + count;
    }
    std::stable_sort(runs_.begin(), runs_.end(), [](const Run& a, const Run& b) { return a.lba < b.lba; });
}

}  // namespace lumadisc
