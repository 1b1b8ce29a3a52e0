#include "formats/sbi.h"

#include <cstring>
#include <vector>

#include "config/log.h"
#include "disc/cd_utility.h"
#include "formats/companion_file.h"
#include "formats/image_file.h"
#include "support/paths.h"

namespace lumadisc {

CCdSubPatch g_subPatch;

namespace {

constexpr uint8_t kSbiMagic[4] = {'S', 'B', 'I', 0};
constexpr size_t kMsfBytes = 3;
constexpr size_t kLsdRecord = kMsfBytes + 12;

bool bcdValid(const uint8_t* msf) {
    for (size_t i = 0; i < kMsfBytes; ++i) {
        if ((msf[i] & 0x0F) > 9 || (msf[i] >> 4) > 9) return false;
    }
    return binaryFromBcd(msf[1]) < kSecondsPerMinute && binaryFromBcd(msf[2]) < kFramesPerSecond;
}

std::string recordAt(size_t offset) { return "bad record at byte " + std::to_string(offset); }

}  // namespace

std::string parseSbi(const uint8_t* data, size_t size, std::map<Lba, QPatch>& patches) {
    patches.clear();
    if (size < sizeof kSbiMagic || std::memcmp(data, kSbiMagic, sizeof kSbiMagic) != 0) return "no SBI signature";
    size_t at = sizeof kSbiMagic;
    while (at < size) {
        if (size - at < kMsfBytes + 1 || !bcdValid(data + at)) return recordAt(at);
        const Lba lba = lbaFromBcdMsf(data + at);
        const uint8_t type = data[at + kMsfBytes];
        const uint8_t* payload = data + at + kMsfBytes + 1;
        const size_t left = size - at - kMsfBytes - 1;
        QPatch patch;
        size_t length = 0;
        switch (type) {
        case 1: patch.kind = QPatch::kWhole; length = 10; break;
        case 2: patch.kind = QPatch::kRelative; length = 3; break;
        case 3: patch.kind = QPatch::kAbsolute; length = 3; break;
        default: return recordAt(at);
        }
        if (left < length) return recordAt(at);
        std::memcpy(patch.bytes.data(), payload, length);
        patches[lba] = patch;
        at += kMsfBytes + 1 + length;
    }
    return patches.empty() ? "no record" : std::string();
}

std::string parseLsd(const uint8_t* data, size_t size, std::map<Lba, QPatch>& patches) {
    patches.clear();
    if (size == 0 || size % kLsdRecord != 0) return "size is not a multiple of 15 bytes";
    for (size_t at = 0; at < size; at += kLsdRecord) {
        if (!bcdValid(data + at)) return recordAt(at);
        QPatch patch;
        patch.kind = QPatch::kWholeWithCrc;
        std::memcpy(patch.bytes.data(), data + at + kMsfBytes, 12);
        patches[lbaFromBcdMsf(data + at)] = patch;
    }
    return {};
}

void applyQPatch(const QPatch& patch, uint8_t* block) {
    uint8_t* q = block + kSubchannelQOffset;
    switch (patch.kind) {
    case QPatch::kWholeWithCrc: std::memcpy(q, patch.bytes.data(), 12); return;
    case QPatch::kWhole: std::memcpy(q, patch.bytes.data(), 10); break;
    case QPatch::kRelative: std::memcpy(q + 3, patch.bytes.data(), 3); break;
    case QPatch::kAbsolute: std::memcpy(q + 7, patch.bytes.data(), 3); break;
    }
    writeQCrc(q);
}

bool CCdSubPatch::load(const char* imagePath) {
    patches_.clear();
    inner_ = nullptr;
    for (const char* extension : {".sbi", ".lsd"}) {
        char path[kPathCapacity];
        if (!companionPathOf(imagePath, extension, path)) continue;
        const int64_t size = ImageFile::sizeOf(path);
        if (size < 0) continue;
        ImageFile file;
        std::string reason;
        std::vector<uint8_t> bytes;
        if (size > kMaxSubPatchBytes) {
            reason = "larger than 1 MB";
        } else if (!file.open(path)) {
            reason = "cannot be read";
        } else {
            bytes.resize(static_cast<size_t>(size));
            bytes.resize(file.readAt(0, bytes.size(), bytes.data()));
            reason = extension[1] == 's' ? parseSbi(bytes.data(), bytes.size(), patches_)
                                         : parseLsd(bytes.data(), bytes.size(), patches_);
        }
        if (!reason.empty()) {
            patches_.clear();
            logWrite(kLogPlugin, "[CDR] Warning: subchannel patch file not used (%s): %s.\n", path, reason.c_str());
            return false;
        }
        logWrite(kLogPlugin, "[CDR] Subchannel patch file read (%s): %i sectors.\n", path,
                 static_cast<int>(patches_.size()));
        return true;
    }
    return false;
}

void CCdSubPatch::close() {
    if (inner_) inner_->close();
    inner_ = nullptr;
    patches_.clear();
}

int CCdSubPatch::read(Lba lba, uint8_t* block) {
    const int result = inner_ ? inner_->read(lba, block) : 0;
    const auto found = patches_.find(lba);
    if (found != patches_.end()) applyQPatch(found->second, block);
    return result;
}

}  // namespace lumadisc
