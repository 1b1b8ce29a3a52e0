// .sbi and .lsd files beside an image replace the Q part of exactly the sectors they list, over
// whichever subchannel source the disc uses (the sheet's generated channel, a .sub file, or the
// generated one when reading subchannels is off), and nothing else.
#include <filesystem>

#include "tests/e2e/plugin_harness.h"
#include "tools/fixtures/file_writer.h"

namespace lumadisc::e2e {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr Lba kSectors = 120;

struct Listed {
    Lba lba;
    uint8_t type;  // SBI record type: 1 ten Q bytes, 2 relative time, 3 absolute time
    Bytes data;
};

// Sectors as a protected disc lists them: times altered, one CRC left wrong in the LSD file.
const std::vector<Listed> kListed = {
    {16, 1, {0x41, 0x01, 0x01, 0x00, 0x00, 0x96, 0x00, 0x00, 0x02, 0x16}},
    {17, 2, {0x00, 0x20, 0x17}},
    {99, 3, {0x00, 0x03, 0x80}},
};

Bytes msfOf(Lba lba) {
    const Msf bcd = bcdMsf(msfFromLba(lba));
    return {bcd.minute, bcd.second, bcd.frame};
}

Bytes sbiFile() {
    Bytes bytes = {'S', 'B', 'I', 0};
    for (const Listed& l : kListed) {
        const Bytes at = msfOf(l.lba);
        bytes.insert(bytes.end(), at.begin(), at.end());
        bytes.push_back(l.type);
        bytes.insert(bytes.end(), l.data.begin(), l.data.end());
    }
    return bytes;
}

// LSD records carry whole Q parts, CRC included, as read from the disc (here: the SBI's ten bytes
// with CRC bytes that do not match them).
Bytes lsdFile() {
    Bytes bytes;
    for (const Listed& l : kListed) {
        const Bytes at = msfOf(l.lba);
        bytes.insert(bytes.end(), at.begin(), at.end());
        Bytes q = {0x41, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 0xDE, static_cast<uint8_t>(l.lba)};
        if (l.type == 1) std::copy(l.data.begin(), l.data.end(), q.begin());
        bytes.insert(bytes.end(), q.begin(), q.end());
    }
    return bytes;
}

class SubchannelPatches : public PluginHarness {
protected:
    std::vector<Bytes> blocks(const fixtures::PluginIni& settings) {
        EXPECT_EQ(openWith(settings), 0);
        std::vector<Bytes> result;
        for (Lba lba = 0; lba < kSectors; ++lba) {
            const host::SectorRead read = host().readSector(lba);
            result.emplace_back(read.subchannel, read.subchannel + kSubchannelSize);
        }
        closePlugin();
        return result;
    }
};

TEST_F(SubchannelPatches, ChangeExactlyTheQBlocksTheyListOverEverySource) {
    fixtures::CueImage image = writeCue(fixtures::CueImageBuilder().addDataTrack(kSectors).withSubchannel());
    const std::string sub = image.subPath;
    for (const bool lsd : {false, true}) {
        for (const char* source : {"sheet", "sub file", "reading off"}) {
            SCOPED_TRACE(std::string(lsd ? "lsd, " : "sbi, ") + source);
            std::filesystem::remove(dir() + "/disc.sbi");
            std::filesystem::remove(dir() + "/disc.lsd");
            if (std::string(source) == "sheet") std::filesystem::rename(sub, dir() + "/kept.sub");
            auto settings = settingsFor(image.cuePath);
            settings.readSubchannels = std::string(source) != "reading off";
            const std::vector<Bytes> before = blocks(settings);
            ASSERT_TRUE(fixtures::writeBytes(dir() + (lsd ? "/disc.lsd" : "/disc.sbi"), lsd ? lsdFile() : sbiFile(), nullptr));
            const std::vector<Bytes> after = blocks(settings);
            EXPECT_NE(log().find("[CDR] Subchannel patch file read (" + dir() + (lsd ? "/disc.lsd" : "/disc.sbi") +
                                 "): 3 sectors.\n"),
                      std::string::npos);
            for (Lba lba = 0; lba < kSectors; ++lba) {
                Bytes expected = before[static_cast<size_t>(lba)];
                uint8_t* q = expected.data() + kSubchannelQOffset;
                for (const Listed& l : kListed) {
                    if (l.lba != lba) continue;
                    if (lsd) {
                        const Bytes records = lsdFile();
                        const size_t at = static_cast<size_t>(&l - kListed.data()) * 15 + 3;
                        std::copy_n(records.begin() + static_cast<long>(at), 12, q);
                        continue;
                    }
                    std::copy(l.data.begin(), l.data.end(), q + (l.type == 1 ? 0 : l.type == 2 ? 3 : 7));
                    writeQCrc(q);
                }
                EXPECT_EQ(after[static_cast<size_t>(lba)], expected) << "LBA " << lba;
            }
            if (std::string(source) == "sheet") std::filesystem::rename(dir() + "/kept.sub", sub);
        }
    }
}

TEST_F(SubchannelPatches, AMalformedFileIsReportedAndChangesNothing) {
    fixtures::CueImage image = writeCue(fixtures::CueImageBuilder().addDataTrack(kSectors));
    const std::vector<Bytes> before = blocks(settingsFor(image.cuePath));
    const std::vector<std::pair<const char*, Bytes>> files = {
        {"/disc.sbi", Bytes{'S', 'B', 'I', 0, 0x00, 0x02, 0x16, 7, 1, 2, 3}},
        {"/disc.sbi", Bytes{'S', 'B', 'X', 0}},
        {"/disc.sbi", Bytes{'S', 'B', 'I', 0, 0x00, 0x02, 0x16, 1, 0x41}},
        {"/disc.lsd", Bytes(16, 0)},
        {"/disc.lsd", Bytes{0x00, 0x02, 0xA6, 0x41, 1, 1, 0, 0, 0, 0, 0, 2, 0x16, 0, 0}},
    };
    for (const auto& [name, bytes] : files) {
        std::filesystem::remove(dir() + "/disc.sbi");
        std::filesystem::remove(dir() + "/disc.lsd");
        ASSERT_TRUE(fixtures::writeBytes(dir() + name, bytes, nullptr));
        EXPECT_EQ(blocks(settingsFor(image.cuePath)), before) << name;
        EXPECT_NE(log().find("[CDR] Warning: subchannel patch file not used (" + dir() + name + "): "), std::string::npos)
            << log();
    }
}

}  // namespace
}  // namespace lumadisc::e2e
