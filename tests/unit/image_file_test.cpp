// The image file's reads against the file's own bytes, whichever order they come in: runs in order
// (served from the read-ahead window), steps backwards and jumps, records straddling the end of the
// file, and empty reads.
#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <vector>

#include "formats/image_file.h"
#include "tests/unit/scratch_directory.h"

namespace lumadisc {
namespace {

constexpr size_t kRecord = 2352;

class ImageFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(scratch_.ok());
        // 100 whole records and a part of one, so that reads in order cross several windows and end
        // on a short record; every byte differs from its neighbours.
        bytes_.resize(100 * kRecord + 1000);
        for (size_t i = 0; i < bytes_.size(); ++i) bytes_[i] = static_cast<uint8_t>(i * 7 + i / 251);
        std::FILE* f = std::fopen("image.bin", "wb");
        ASSERT_NE(f, nullptr);
        ASSERT_EQ(std::fwrite(bytes_.data(), 1, bytes_.size(), f), bytes_.size());
        std::fclose(f);
        ASSERT_TRUE(file_.open("image.bin"));
    }
    // Reads record `index` and checks it against the file: the bytes that exist, and the rest of
    // the buffer untouched.
    void expectRecord(int32_t index) {
        std::vector<uint8_t> buffer(kRecord, 0xEE);
        const size_t got = file_.readRecord(index, kRecord, buffer.data());
        const size_t start = static_cast<size_t>(index) * kRecord;
        const size_t exists = start >= bytes_.size() ? 0 : std::min(kRecord, bytes_.size() - start);
        ASSERT_EQ(got, exists) << "record " << index;
        for (size_t i = 0; i < kRecord; ++i) {
            ASSERT_EQ(buffer[i], i < exists ? bytes_[start + i] : 0xEE) << "record " << index << " byte " << i;
        }
        EXPECT_FALSE(file_.readFailed());
    }

    unit::ScratchDirectory scratch_;
    std::vector<uint8_t> bytes_;
    ImageFile file_;
};

TEST_F(ImageFileTest, ReadsInAnyOrderGiveTheFilesBytes) {
    for (int32_t index = 0; index <= 102; ++index) expectRecord(index);  // in order, past the end
    for (int32_t index = 60; index >= 40; --index) expectRecord(index);  // backwards
    std::mt19937 random(9);
    for (int i = 0; i < 300; ++i) {
        const int32_t index = static_cast<int32_t>(random() % 103);
        expectRecord(index);
        if (i % 3 == 0) expectRecord(index + 1);  // short runs in order from anywhere
    }
    // Odd sizes and offsets inside a window already read.
    std::vector<uint8_t> buffer(5000);
    EXPECT_EQ(file_.readAt(3000, 10, buffer.data()), 10u);
    EXPECT_EQ(file_.readAt(3010, 5000, buffer.data()), 5000u);  // larger than the window reads straight
    EXPECT_EQ(std::vector<uint8_t>(buffer.begin(), buffer.end()),
              std::vector<uint8_t>(bytes_.begin() + 3010, bytes_.begin() + 8010));
}

TEST_F(ImageFileTest, EmptyAndOutOfRangeReadsTouchNothing) {
    expectRecord(0);
    expectRecord(1);  // the window now holds what follows
    EXPECT_EQ(file_.readAt(2 * kRecord, 0, nullptr), 0u) << "an empty read inside the window";
    EXPECT_EQ(file_.readAt(-1, 10, nullptr), 0u);
    EXPECT_EQ(file_.readAt(int64_t{1} << 32, 10, nullptr), 0u);
    file_.close();
    EXPECT_EQ(file_.readAt(0, 10, nullptr), 0u) << "a closed file reads nothing";
    ASSERT_TRUE(file_.open("image.bin"));
    expectRecord(2);
    expectRecord(3);
}

}  // namespace
}  // namespace lumadisc
