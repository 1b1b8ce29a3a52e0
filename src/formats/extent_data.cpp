#include "formats/extent_data.h"

#include <cstring>
#include <utility>

#include "config/log.h"

namespace lumadisc {

namespace {

constexpr uint8_t kSubmodeForm2 = 0x20;

void frameMode1(Lba lba, uint8_t* sector) {
    writeSectorHeader(sector, lba, 1);
    fillMode1EdcEcc(sector);
}

// The subheader's form bit decides which error codes the sector carries.
void frameMode2(Lba lba, uint8_t* sector) {
    writeSectorHeader(sector, lba, 2);
    if (sector[kSubheaderOffset + 2] & kSubmodeForm2) fillForm2Edc(sector);
    else fillForm1EdcEcc(sector);
}

}  // namespace

int CCdExtentData::open() {
    close();
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

int CCdExtentData::read(Lba lba, uint8_t* sector) {
    const Extent* e = table_.find(lba);
    if (e == nullptr) return 0;
    const int64_t at = e->offset + static_cast<int64_t>(lba - e->start) * e->stride;
    const size_t file = static_cast<size_t>(e->file);
    const bool haveFile = e->file >= 0 && file < files_.size();
    switch (e->form) {
    case SectorForm::kRaw:
    case SectorForm::kAudio:
        if (haveFile && files_[file]) files_[file]->readAt(at, kRawSectorSize, sector);
        break;
    case SectorForm::kAudioSwapped:
        if (haveFile && files_[file]) {
            const size_t got = files_[file]->readAt(at, kRawSectorSize, sector);
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
        if (haveFile && files_[file]) files_[file]->readAt(at, kForm1UserSize, sector + kMode1DataOffset);
        frameMode1(lba, sector);
        break;
    case SectorForm::kMode2User:
        std::memset(sector, 0, kRawSectorSize);
        if (haveFile && files_[file]) files_[file]->readAt(at, kMode2UserSize, sector + kSubheaderOffset);
        frameMode2(lba, sector);
        break;
    case SectorForm::kForm1User:
    case SectorForm::kForm2User: {
        const bool form2 = e->form == SectorForm::kForm2User;
        std::memset(sector, 0, kRawSectorSize);
        writeSubheader(sector, 0, 0, form2 ? kSubmodeForm2 : 0x08, 0);
        if (haveFile && files_[file]) {
            files_[file]->readAt(at, static_cast<size_t>(form2 ? kForm2UserSize : kForm1UserSize),
                                 sector + kMode2DataOffset);
        }
        frameMode2(lba, sector);
        break;
    }
    case SectorForm::kSilence:
        std::memset(sector, 0, kRawSectorSize);
        break;
    case SectorForm::kEmptyMode1:
        std::memset(sector, 0, kRawSectorSize);
        frameMode1(lba, sector);
        break;
    case SectorForm::kEmptyMode2:
        std::memset(sector, 0, kRawSectorSize);
        frameMode2(lba, sector);
        break;
    }
    return 0;
}

int CCdExtentSub::read(Lba lba, uint8_t* block) {
    table_.fillSubchannel(lba, block);
    return 0;
}

}  // namespace lumadisc
