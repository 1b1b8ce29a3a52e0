#include "formats/extent_data.h"

#include <cstring>
#include <utility>

#include "config/log.h"

namespace lumadisc {

namespace {

constexpr uint8_t kSubmodeForm2 = 0x20;

}  // namespace

int CCdExtentData::open(const char*) {
    close();
    warnedEnd_ = false;
    for (int32_t i = 0; i < table_.fileCount(); ++i) {
        const std::string& path = table_.filePath(i);
        if (table_.fileDecoded(i)) {
            auto sound = std::make_unique<AudioFile>();
            std::string reason;
            if (!sound->open(path, &reason)) {
                logWrite(kLogPlugin, "[CDR] Error: audio file not opened (%s): %s.\n", path.c_str(), reason.c_str());
                close();
                return -1;
            }
            sounds_.push_back(std::move(sound));
            files_.push_back(nullptr);
        } else {
            auto file = std::make_unique<ImageFile>();
            if (!file->open(path.c_str())) {
                logWrite(kLogPlugin, "[CDR] Error: data file not opened (%s).\n", path.c_str());
                close();
                return -1;
            }
            files_.push_back(std::move(file));
            sounds_.push_back(nullptr);
        }
    }
    return 0;
}

void CCdExtentData::close() {
    files_.clear();
    sounds_.clear();
}

size_t CCdExtentData::readFile(size_t file, int64_t at, size_t size, uint8_t* out, Lba lba) {
    const ImageFile& f = *files_[file];
    const size_t got = f.readAt(at, size, out);
    if (f.readFailed()) {
        failed_ = true;
    } else if (got < size && !warnedEnd_) {
        warnedEnd_ = true;
        logWrite(kLogPlugin, "[CDR] Warning: sector %i lies past the end of the data file (%s).\n", lba, f.path());
    }
    return got;
}

int CCdExtentData::read(Lba lba, uint8_t* sector) {
    const Extent* e = table_.find(lba);
    if (e == nullptr) return 0;
    failed_ = false;
    const int64_t at = e->offset + static_cast<int64_t>(lba - e->start) * e->stride;
    const size_t file = static_cast<size_t>(e->file);
    const bool haveFile = e->file >= 0 && file < files_.size();
    switch (e->form) {
    case SectorForm::kRaw:
    case SectorForm::kAudio:
        if (haveFile && files_[file]) readFile(file, at, kRawSectorSize, sector, lba);
        break;
    case SectorForm::kAudioSwapped:
        if (haveFile && files_[file]) {
            const size_t got = readFile(file, at, kRawSectorSize, sector, lba);
            for (size_t i = 0; i + 1 < got; i += 2) std::swap(sector[i], sector[i + 1]);
        }
        break;
    case SectorForm::kDecodedAudio: {
        std::memset(sector, 0, kRawSectorSize);
        if (haveFile && sounds_[file]) sounds_[file]->readAt(at, kRawSectorSize, sector);
        break;
    }
    case SectorForm::kMode1User:
        std::memset(sector, 0, kRawSectorSize);
        if (haveFile && files_[file]) readFile(file, at, kForm1UserSize, sector + kMode1DataOffset, lba);
        completeMode1Sector(sector, lba);
        break;
    case SectorForm::kMode2User:
        std::memset(sector, 0, kRawSectorSize);
        if (haveFile && files_[file]) readFile(file, at, kMode2UserSize, sector + kSubheaderOffset, lba);
        completeMode2Sector(sector, lba);
        break;
    case SectorForm::kForm1User:
    case SectorForm::kForm2User: {
        const bool form2 = e->form == SectorForm::kForm2User;
        std::memset(sector, 0, kRawSectorSize);
        writeSubheader(sector, 0, 0, form2 ? kSubmodeForm2 : 0x08, 0);
        if (haveFile && files_[file]) {
            readFile(file, at, static_cast<size_t>(form2 ? kForm2UserSize : kForm1UserSize), sector + kMode2DataOffset,
                     lba);
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

int CCdExtentSub::read(Lba lba, uint8_t* block) {
    table_.fillSubchannel(lba, block);
    return 0;
}

}  // namespace lumadisc
