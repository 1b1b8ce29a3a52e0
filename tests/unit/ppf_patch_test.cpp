// Loading patch files of every version, whole and cut at every byte, and files that are no patch.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <string>
#include <tuple>
#include <vector>

#include "config/log.h"
#include "config/settings.h"
#include "formats/ppf_patch.h"
#include "scratch_directory.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/ppf_patch.h"

namespace lumadisc {
namespace {

using Bytes = std::vector<uint8_t>;
constexpr int64_t kSector = kRawSectorSize;
constexpr const char* kNoPatch = "[CDR] Error: patchfile is no ppf patch.\n";
constexpr const char* kUnknownType = "[CDR] error: unknown ppf type.\n";

struct Write { Lba lba; int start; Bytes bytes; };
struct Record {
    int64_t offset;
    Bytes bytes;
    std::vector<Write> writes;  // what it does to the sectors, in order
    bool wideOffsetsOnly = false;
};

// Overlapping records, records crossing a sector's end, and offsets at the edges of 32-bit range.
const std::vector<Record> kRecords = {
    {16 * kSector + 24, {1, 2, 3, 4}, {{16, 24, {1, 2, 3, 4}}}},
    {17 * kSector + 2340, Bytes(20, 5), {{17, 2340, Bytes(12, 5)}}},
    {18 * kSector, {6, 7}, {{18, 0, {6, 7}}}},
    {16 * kSector + 26, {8, 9, 10}, {{16, 26, {8, 9, 10}}}},
    {-2, {11, 12, 13, 14}, {{-1, 2350, {11, 12}}}},
    {INT32_MAX, {15, 16, 17, 18}, {{913045, 1807, {15, 16, 17, 18}}}},
    {INT32_MIN, {19}, {{-913046, 544, {19}}}},
    {(int64_t{1} << 32) + 16 * kSector + 24, {20, 20, 20, 20}, {}, true},  // beyond 4 GiB, not sector 16
    {int64_t{INT32_MAX} * kSector + 5, {21}, {{INT32_MAX, 5, {21}}}, true},
};
const std::vector<Lba> kCheckedSectors = {INT32_MIN, -913046, -1, 0, 15, 16, 17, 18, 19, 913045, INT32_MAX};

struct Variant { int version; uint8_t blockCheck; bool description; };
const Variant kVariants[] = {{1, 0, false}, {2, 0, false}, {2, 0, true}, {3, 0, false}, {3, 1, false}, {3, 7, true}};

class PpfPatchTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(scratch_.ok());
        settingsDefaults(&g_settings);
        g_settings.enablelogging = 1;
        image_ = scratch_.path() + "/disc.bin";
        patchPath_ = scratch_.path() + "/disc.ppf";
        ASSERT_EQ(logOpen("./lumaDisc.log"), 0);
    }
    void TearDown() override {
        patch_.release();
        logClose();
        settingsDefaults(&g_settings);
    }
    // Writes the file, loads it and returns load's result; log() then starts from here. (A new file
    // each time: truncating one makes some file systems flush, which is slow for thousands of files.)
    int load(const Bytes& file) {
        std::remove(patchPath_.c_str());
        EXPECT_TRUE(fixtures::writeBytes(patchPath_, file, nullptr));
        logMark_ = unit::readWholeFile("./lumaDisc.log").size();
        return patch_.load(image_.c_str());
    }
    std::string log() const { return unit::readWholeFile("./lumaDisc.log").substr(logMark_); }
    // The sector after apply, from all-zero bytes; fails when anything around it was written.
    Bytes applied(Lba lba) {
        Bytes area(kRawSectorSize + 128, 0xEE);
        std::fill_n(area.begin() + 64, kRawSectorSize, 0);
        patch_.apply(lba, area.data() + 64);
        const auto guard = [](uint8_t byte) { return byte == 0xEE; };
        EXPECT_TRUE(std::all_of(area.begin(), area.begin() + 64, guard) &&
                    std::all_of(area.end() - 64, area.end(), guard))
            << "written outside LBA " << lba;
        return Bytes(area.begin() + 64, area.end() - 64);
    }

    unit::ScratchDirectory scratch_;
    std::string image_;
    std::string patchPath_;
    CCdPpfPatch patch_;
    size_t logMark_ = 0;
};

TEST_F(PpfPatchTest, EveryVersionCutAtEveryByteAppliesTheWholeRecordsOnly) {
    for (const Variant& variant : kVariants) {
        fixtures::PpfPatchBuilder builder(variant.version);
        builder.blockCheck(variant.blockCheck);
        std::vector<const Record*> records;
        std::vector<size_t> recordEnds;
        size_t end = builder.recordsStart();
        for (const Record& record : kRecords) {
            if (record.wideOffsetsOnly && variant.version != 3) continue;
            builder.add(record.offset, record.bytes);
            records.push_back(&record);
            end += (variant.version == 3 ? 9 : 5) + record.bytes.size();
            recordEnds.push_back(end);
        }
        if (variant.description) builder.description("described");
        const Bytes file = builder.bytes();
        for (size_t cut = 0; cut <= file.size(); ++cut) {
            SCOPED_TRACE("version " + std::to_string(variant.version) + " cut at " + std::to_string(cut));
            const int result = load(Bytes(file.begin(), file.begin() + cut));
            if (cut < 4) {
                EXPECT_EQ(result, -1);
                EXPECT_EQ(patch_.version(), -1);
                for (const Lba lba : kCheckedSectors) EXPECT_EQ(applied(lba), Bytes(kRawSectorSize, 0));
                // An empty file holds nothing to apply; any other unknown one says so at every apply.
                std::string expectedLog = kNoPatch;
                for (size_t i = 0; cut > 0 && i < kCheckedSectors.size(); ++i) expectedLog += kUnknownType;
                EXPECT_EQ(log(), expectedLog);
                continue;
            }
            EXPECT_EQ(result, 0);
            EXPECT_EQ(patch_.version(), variant.version);
            if (variant.version == 3) {
                EXPECT_EQ(patch_.blockCheck(), cut > 57 ? variant.blockCheck : 0);
            }
            // A cut inside the description block leaves bytes that may read as anything.
            const bool exact = !variant.description || cut <= end || cut == file.size();
            for (const Lba lba : kCheckedSectors) {
                Bytes expected(kRawSectorSize, 0);
                for (size_t i = 0; i < records.size() && recordEnds[i] <= cut; ++i) {
                    for (const Write& write : records[i]->writes) {
                        if (write.lba == lba) std::copy(write.bytes.begin(), write.bytes.end(), &expected[write.start]);
                    }
                }
                const Bytes sector = applied(lba);
                if (exact) {
                    EXPECT_EQ(sector, expected) << "LBA " << lba;
                }
            }
            if (exact) {
                EXPECT_EQ(log(), "");
            }
        }
    }
}

TEST_F(PpfPatchTest, UnknownSignaturesStayLoadedAndSayAtEveryApplyUntilReleased) {
    Bytes file = fixtures::PpfPatchBuilder(3).add(16 * kSector, "ab").bytes();
    for (const std::string& signature : std::vector<std::string>{"PPF0", "PPF4", "ppf3", "PPF ", {"\0PPF", 4}}) {
        std::copy(signature.begin(), signature.end(), file.begin());
        EXPECT_EQ(load(file), -1) << signature;
        EXPECT_EQ(patch_.version(), -1);
        EXPECT_EQ(patch_.size(), file.size());
        EXPECT_EQ(applied(16), Bytes(kRawSectorSize, 0));
        applied(17);
        EXPECT_EQ(log(), std::string(kNoPatch) + kUnknownType + kUnknownType);
        EXPECT_EQ(patch_.release(), 0);
        applied(16);
        EXPECT_EQ(log(), std::string(kNoPatch) + kUnknownType + kUnknownType);
    }
}

TEST_F(PpfPatchTest, MissingOrUnopenablePatchEmptiesTheSet) {
    const Bytes file = fixtures::PpfPatchBuilder(1).add(16 * kSector, "ab").bytes();
    ASSERT_EQ(load(file), 0);
    std::remove(patchPath_.c_str());
    EXPECT_EQ(patch_.load(image_.c_str()), -1);  // silent: no patch beside the image
    EXPECT_EQ(patch_.size(), 0u);
    EXPECT_EQ(applied(16), Bytes(kRawSectorSize, 0));
    EXPECT_EQ(log(), "");

    ASSERT_EQ(load(file), 0);
    std::remove(patchPath_.c_str());
    ASSERT_TRUE(fixtures::makeDirectories(patchPath_, nullptr));
    EXPECT_EQ(patch_.load(image_.c_str()), -1);
    EXPECT_EQ(patch_.size(), 0u);
    EXPECT_EQ(applied(16), Bytes(kRawSectorSize, 0));
    EXPECT_EQ(log(), "[CDR] Warning: not open (" + patchPath_ + ").\n");
}

TEST_F(PpfPatchTest, DescriptionLengthsFollowTheFieldWidthOfTheVersion) {
    // {version, length field, description length, log}
    const std::tuple<int, int64_t, int32_t, std::string> cases[] = {
        {1, 5, 41, ""},
        {2, 5, 43, ""},
        {3, 0xFFFF, 0xFFFF + 36, ""},  // two bytes wide: never negative
        {2, -100, 0, "[CDR] Error: idlen in ppf system < 0 (-62),"},
        {2, INT32_MAX, INT32_MAX, ""},
    };
    for (const auto& [version, field, expected, message] : cases) {
        fixtures::PpfPatchBuilder builder(version);
        EXPECT_EQ(load(builder.description("hello").descriptionLengthField(field).bytes()), 0);
        EXPECT_EQ(patch_.descriptionLength(), expected) << version << " " << field;
        EXPECT_EQ(log(), message);
    }
}

}  // namespace
}  // namespace lumadisc
