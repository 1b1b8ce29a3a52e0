#include "formats/extent_data.h"

#include <cstring>
#include <utility>

#include "config/log.h"

namespace lumadisc {

namespace {

constexpr uint8_t kSubmodeForm2 = 0x20;

// An image file as a source of extent bytes.
class ImageFileSource final : public ExtentSource {
public:
    bool open(const std::string& path) { return file_.open(path.c_str()); }
    size_t readAt(int64_t offset, size_t size, uint8_t* out) override { return file_.readAt(offset, size, out); }
    bool readFailed() const override { return file_.readFailed(); }
    const char* name() const override { return file_.path(); }

private:
    ImageFile file_;
};

// A sound file as a source of decoded bytes; beyond its decoded length it reads nothing.
class SoundFileSource final : public ExtentSource {
public:
    bool open(const std::string& path, std::string* reason) {
        path_ = path;
        return sound_.open(path, reason);
    }
    size_t readAt(int64_t offset, size_t size, uint8_t* out) override { return sound_.readAt(offset, size, out); }
    bool readFailed() const override { return false; }
    const char* name() const override { return path_.c_str(); }

private:
    AudioFile sound_;
    std::string path_;
};

}  // namespace

int CCdExtentData::open(const char*) {
    close();
    warnedEnd_ = false;
    for (int32_t i = 0; i < table_.fileCount(); ++i) {
        const std::string& path = table_.filePath(i);
        if (table_.fileSource(i)) {
            sources_.push_back(table_.fileSource(i));
        } else if (table_.fileDecoded(i)) {
            auto sound = std::make_shared<SoundFileSource>();
            std::string reason;
            if (!sound->open(path, &reason)) {
                logWrite(kLogPlugin, "[CDR] Error: audio file not opened (%s): %s.\n", path.c_str(), reason.c_str());
                close();
                return -1;
            }
            sources_.push_back(std::move(sound));
        } else {
            auto file = std::make_shared<ImageFileSource>();
            if (!file->open(path)) {
                logWrite(kLogPlugin, "[CDR] Error: data file not opened (%s).\n", path.c_str());
                close();
                return -1;
            }
            sources_.push_back(std::move(file));
        }
    }
    return 0;
}

void CCdExtentData::close() { sources_.clear(); }

size_t CCdExtentData::readFile(size_t file, int64_t at, size_t size, uint8_t* out, Lba lba, bool framed) {
    ExtentSource& source = *sources_[file];
    const size_t got = source.readAt(at, size, out);
    if (source.readFailed()) {
        failed_ = true;
    } else if (got < size) {
        // A sector the description places where its file has none is not made up: the read fails
        // (the buffer keeps what the file did hold), so a copy or a check never passes it as read.
        // User data to be framed may end within its last sector (an executable's last 2048 bytes);
        // the rest of that sector is zeros.
        if (!framed || got == 0) failed_ = true;
        if (!warnedEnd_) {
            warnedEnd_ = true;
            logWrite(kLogPlugin, "[CDR] Warning: sector %i lies past the end of the data file (%s).\n", lba,
                     source.name());
        }
    }
    return got;
}

int CCdExtentData::read(Lba lba, uint8_t* sector) {
    const Extent* e = table_.find(lba);
    if (e == nullptr) return 0;
    failed_ = false;
    const int64_t at = e->offset + static_cast<int64_t>(lba - e->start) * e->stride;
    const size_t file = static_cast<size_t>(e->file);
    const bool haveFile = e->file >= 0 && file < sources_.size();
    switch (e->form) {
    case SectorForm::kRaw:
    case SectorForm::kAudio:
        if (haveFile) readFile(file, at, kRawSectorSize, sector, lba);
        break;
    case SectorForm::kAudioSwapped:
        if (haveFile) {
            const size_t got = readFile(file, at, kRawSectorSize, sector, lba);
            for (size_t i = 0; i + 1 < got; i += 2) std::swap(sector[i], sector[i + 1]);
        }
        break;
    case SectorForm::kDecodedAudio: {
        std::memset(sector, 0, kRawSectorSize);
        if (haveFile) sources_[file]->readAt(at, kRawSectorSize, sector);
        break;
    }
    case SectorForm::kMode1User:
        std::memset(sector, 0, kRawSectorSize);
        if (haveFile) readFile(file, at, kForm1UserSize, sector + kMode1DataOffset, lba, true);
        completeMode1Sector(sector, lba);
        break;
    case SectorForm::kMode2User:
        std::memset(sector, 0, kRawSectorSize);
        if (haveFile) readFile(file, at, kMode2UserSize, sector + kSubheaderOffset, lba, true);
        completeMode2Sector(sector, lba);
        break;
    case SectorForm::kForm1User:
    case SectorForm::kForm2User: {
        const bool form2 = e->form == SectorForm::kForm2User;
        std::memset(sector, 0, kRawSectorSize);
        writeSubheader(sector, 0, 0, form2 ? kSubmodeForm2 : 0x08, 0);
        if (haveFile) {
            readFile(file, at, static_cast<size_t>(form2 ? kForm2UserSize : kForm1UserSize), sector + kMode2DataOffset,
                     lba, true);
        }
        completeMode2Sector(sector, lba);
        break;
    }
    case SectorForm::kSilence:
        std::memset(sector, 0, kRawSectorSize);
        break;
    case SectorForm::kEmptyMode1:
        std::memset(sector, 0, kRawSectorSize);
        completeMode1Sector(sector, lba);
        break;
    case SectorForm::kEmptyMode2:
        std::memset(sector, 0, kRawSectorSize);
        completeMode2Sector(sector, lba);
        break;
    }
    return failed_ ? -1 : 0;
}

bool CCdExtentData::readStoredSubchannel(Lba lba, uint8_t* block) {
    const Extent* e = table_.find(lba);
    if (e == nullptr || e->subForm == SubForm::kNone || e->file < 0) return false;
    const size_t file = static_cast<size_t>(e->file);
    if (file >= sources_.size()) return false;
    const int64_t at = e->offset + static_cast<int64_t>(lba - e->start) * e->stride + e->subOffset;
    uint8_t stored[kSubchannelSize];
    if (sources_[file]->readAt(at, kSubchannelSize, stored) != kSubchannelSize) return false;
    uint8_t candidate[kSubchannelSize];
    if (e->subForm == SubForm::kInterleaved) deinterleaveSubchannel(stored, candidate);
    else std::memcpy(candidate, stored, kSubchannelSize);
    if (!qCrcValid(candidate + kSubchannelQOffset)) return false;
    std::memcpy(block, candidate, kSubchannelSize);
    return true;
}

int CCdExtentSub::read(Lba lba, uint8_t* block) {
    if (useStored_ && data_.readStoredSubchannel(lba, block)) return 0;
    table_.fillSubchannel(lba, block);
    return 0;
}

}  // namespace lumadisc
