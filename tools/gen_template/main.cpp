// Writes the executable disc's sector template as a C++ source file holding one constant byte array:
// 23 raw Mode 2 sectors with their EDC and ECC (system area, volume descriptors, path tables, root
// directory). Runs at build time on the build machine; the library never computes these bytes.
//
//   gen_template OUTPUT.cpp
#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "src/formats/disc_template.h"
#include "src/disc/cd_utility.h"

namespace {

using namespace lumadisc;
namespace layout = lumadisc::disc_template;

using Block = std::vector<uint8_t>;  // 2048 bytes of user data

constexpr int kSystemAreaForm1 = 12;  // Lba 0..11 Form 1 data, 12..15 Form 2 with zero data
constexpr int kDescriptorLba = 16;
constexpr int32_t kRootExtent = 22;
constexpr int32_t kPathTableL = 18;
constexpr int32_t kPathTableM = 20;
constexpr uint32_t kPathTableSize = 10;

constexpr std::string_view kSystemAreaText =
    "lumaDisc built-in disc\n"
    "\n"
    "This disc is put together by the lumaDisc CD-ROM plugin around a console executable that was\n"
    "chosen as the disc path. Its file system holds one file, PSX.EXE;1, whose sectors are read from\n"
    "that executable as the console asks for them.\n";

using Sector = std::array<uint8_t, kRawSectorSize>;

constexpr uint8_t kSubmodeData = 0x08;
constexpr uint8_t kSubmodeForm2 = 0x20;

void le16(uint8_t* out, uint32_t v) { writeLe16(out, v); }
void be16(uint8_t* out, uint32_t v) { writeBe16(out, v); }
void le32(uint8_t* out, uint32_t v) { writeLe32(out, v); }
void be32(uint8_t* out, uint32_t v) { writeBe32(out, v); }
void both16(uint8_t* out, uint32_t v) { le16(out, v); be16(out + 2, v); }
void both32(uint8_t* out, uint32_t v) { le32(out, v); be32(out + 4, v); }

// A Mode 2 sector of the built-in disc: Form 1 with user data, EDC and ECC, or Form 2 with zero data.
Sector mode2Sector(Lba lba, const std::vector<uint8_t>& userData, bool form2) {
    Sector sector{};
    writeSectorHeader(sector.data(), lba, 2);
    writeSubheader(sector.data(), 0, 0, form2 ? kSubmodeForm2 : kSubmodeData, 0);
    if (form2) {
        fillForm2Edc(sector.data());
    } else {
        std::memcpy(sector.data() + kMode2DataOffset, userData.data(), std::min<size_t>(userData.size(), kForm1UserSize));
        fillForm1EdcEcc(sector.data());
    }
    return sector;
}

void blankPadded(uint8_t* out, std::string_view text, size_t width) {
    std::memset(out, ' ', width);
    std::memcpy(out, text.data(), text.size() < width ? text.size() : width);
}

// Year since 1900, month, day, hour, minute, second, offset from GMT in 15-minute units.
struct RecordTime {
    uint8_t bytes[7] = {};
};
constexpr RecordTime kRootTime{{109, 8, 20, 21, 22, 4, 36}};
constexpr RecordTime kExecutableTime{{101, 7, 27, 1, 39, 42, 36}};
constexpr RecordTime kNoTime{};

// One directory record; with xaAttributes it ends with the 14-byte CD-XA system-use field.
std::vector<uint8_t> directoryRecord(std::string_view name, int32_t extent, uint32_t size, const RecordTime& time,
                                     uint8_t flags, const uint8_t* xaAttributes) {
    const size_t base = 33 + name.size() + (name.size() % 2 == 0 ? 1 : 0);
    std::vector<uint8_t> record(base + (xaAttributes ? 14 : 0), 0);
    record[0] = static_cast<uint8_t>(record.size());
    both32(&record[2], static_cast<uint32_t>(extent));
    both32(&record[10], size);
    std::memcpy(&record[18], time.bytes, sizeof time.bytes);
    record[25] = flags;
    both16(&record[28], 1);
    record[32] = static_cast<uint8_t>(name.size());
    std::memcpy(&record[33], name.data(), name.size());
    if (xaAttributes) {
        uint8_t* field = &record[base];
        field[4] = xaAttributes[0];
        field[5] = xaAttributes[1];
        field[6] = 'X';
        field[7] = 'A';
    }
    return record;
}

void descriptorTime(uint8_t* out, std::string_view digits) {
    std::memcpy(out, digits.data(), 16);
    out[16] = 0;
}

Block primaryVolumeDescriptor() {
    Block pvd(kForm1UserSize, 0);
    pvd[0] = 1;
    std::memcpy(&pvd[1], "CD001", 5);
    pvd[6] = 1;
    blankPadded(&pvd[8], "PLAYSTATION", 32);
    blankPadded(&pvd[40], "PSX-DEMO", 32);
    both32(&pvd[80], layout::kVolumeSectors);
    both16(&pvd[120], 1);
    both16(&pvd[124], 1);
    both16(&pvd[128], kForm1UserSize);
    both32(&pvd[132], kPathTableSize);
    le32(&pvd[140], kPathTableL);
    le32(&pvd[144], kPathTableL + 1);
    be32(&pvd[148], kPathTableM);
    be32(&pvd[152], kPathTableM + 1);
    const auto root = directoryRecord(std::string_view("\0", 1), kRootExtent, kForm1UserSize, kRootTime, 2, nullptr);
    std::memcpy(&pvd[156], root.data(), root.size());
    blankPadded(&pvd[190], "", 3 * 128);  // volume set, publisher, data preparer
    blankPadded(&pvd[574], "PLAYSTATION", 128);
    blankPadded(&pvd[702], "", 3 * 37);  // copyright, abstract and bibliographic file identifiers
    descriptorTime(&pvd[813], "2009082021220400");
    descriptorTime(&pvd[830], "2009082021220400");
    descriptorTime(&pvd[847], "0000000000000000");
    descriptorTime(&pvd[864], "0000000000000000");
    pvd[881] = 1;
    std::memcpy(&pvd[1024], "CD-XA001", 8);
    return pvd;
}

Block terminator() {
    Block block(kForm1UserSize, 0);
    block[0] = 255;
    std::memcpy(&block[1], "CD001", 5);
    block[6] = 1;
    return block;
}

Block pathTable(bool bigEndian) {
    Block block(kForm1UserSize, 0);
    block[0] = 1;
    if (bigEndian) {
        be32(&block[2], kRootExtent);
        be16(&block[6], 1);
    } else {
        le32(&block[2], kRootExtent);
        le16(&block[6], 1);
    }
    return block;
}

Block rootDirectory() {
    constexpr uint8_t kDirectoryAttributes[2] = {0x8D, 0x55};
    constexpr uint8_t kFileAttributes[2] = {0x0D, 0x55};
    const std::vector<uint8_t> records[] = {
        directoryRecord(std::string_view("\0", 1), kRootExtent, kForm1UserSize, kNoTime, 2, kDirectoryAttributes),
        directoryRecord(std::string_view("\1", 1), kRootExtent, kForm1UserSize, kNoTime, 2, kDirectoryAttributes),
        directoryRecord("PSX.EXE;1", layout::kExecutableExtent, layout::kExecutableBytes, kExecutableTime, 0,
                        kFileAttributes),
    };
    Block block(kForm1UserSize, 0);
    size_t offset = 0;
    for (const auto& record : records) {
        std::memcpy(&block[offset], record.data(), record.size());
        offset += record.size();
    }
    return block;
}

std::vector<Sector> templateSectors() {
    std::vector<Sector> sectors;
    for (Lba lba = 0; lba < kDescriptorLba; ++lba) {
        if (lba >= kSystemAreaForm1) {
            sectors.push_back(mode2Sector(lba, {}, true));
            continue;
        }
        Block data(kForm1UserSize, 0);
        if (lba == 0) std::memcpy(data.data(), kSystemAreaText.data(), kSystemAreaText.size());
        sectors.push_back(mode2Sector(lba, data, false));
    }
    const Block blocks[] = {primaryVolumeDescriptor(), terminator(), pathTable(false), pathTable(false),
                            pathTable(true),           pathTable(true), rootDirectory()};
    for (const Block& block : blocks)
        sectors.push_back(mode2Sector(static_cast<Lba>(sectors.size()), block, false));
    return sectors;
}

std::string sourceText(const std::vector<Sector>& sectors) {
    std::string text =
        "// Written by tools/gen_template at build time: the executable disc's first sectors.\n"
        "#include \"formats/disc_template.h\"\n\n"
        "namespace lumadisc::disc_template {\n\n"
        "const uint8_t kBytes[kSectors * kSectorSize] = {\n";
    char item[8];
    for (size_t s = 0; s < sectors.size(); ++s) {
        text += "    // Lba " + std::to_string(s) + "\n";
        for (size_t i = 0; i < sectors[s].size(); ++i) {
            std::snprintf(item, sizeof item, "0x%02x,", sectors[s][i]);
            text += i % 16 == 0 ? "    " : " ";
            text += item;
            if (i % 16 == 15 || i + 1 == sectors[s].size()) text += '\n';
        }
    }
    text += "};\n\n}  // namespace lumadisc::disc_template\n";
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: gen_template OUTPUT.cpp\n");
        return 2;
    }
    const std::vector<Sector> sectors = templateSectors();
    if (sectors.size() != static_cast<size_t>(layout::kSectors)) {
        std::fprintf(stderr, "gen_template: %zu sectors made, %d expected\n", sectors.size(), layout::kSectors);
        return 1;
    }
    const std::string text = sourceText(sectors);
    std::ofstream out(argv[1], std::ios::binary | std::ios::trunc);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    out.close();
    if (!out) {
        std::fprintf(stderr, "gen_template: cannot write %s\n", argv[1]);
        return 1;
    }
    return 0;
}
