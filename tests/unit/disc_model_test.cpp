// The disc model's arithmetic: BCD, addresses, the generated Q block's times and CRC.
#include <gtest/gtest.h>

#include <array>

#include "disc/auto_sub.h"
#include "disc/disc_model.h"

namespace lumadisc {
namespace {

TEST(DiscModel, BcdConversionHasNoRangeCheck) {
    EXPECT_EQ(bcdFromBinary(99), 0x99);
    EXPECT_EQ(bcdFromBinary(100), 0xA0);
    EXPECT_EQ(bcdFromBinary(256 + 42), 0x42);  // cut to 8 bits first
    EXPECT_EQ(binaryFromBcd(0xAF), 115);       // nibbles are not validated
}

// Generated Q blocks: relative time from the Lba, absolute time from Lba + 150, both through the BCD
// rule as it is for minutes of 100 and more; positions before the disc count back from 100 minutes.
TEST(DiscModel, GeneratedQTimesFollowTheBcdRule) {
    struct Row {
        Lba lba;
        std::array<uint8_t, 3> relative;
        std::array<uint8_t, 3> absolute;
    };
    const Row rows[] = {
        {0, {0x00, 0x00, 0x00}, {0x00, 0x02, 0x00}},
        {4350, {0x00, 0x58, 0x00}, {0x01, 0x00, 0x00}},
        {99 * 4500 + 59 * 75 + 74 - 150, {0x99, 0x57, 0x74}, {0x99, 0x59, 0x74}},
        {100 * 4500 - 150, {0x99, 0x58, 0x00}, {0xA0, 0x00, 0x00}},
        {150 * 4500, {0xF0, 0x00, 0x00}, {0xF0, 0x02, 0x00}},
        {256 * 4500 + 30 * 75, {0x00, 0x30, 0x00}, {0x00, 0x32, 0x00}},
        {-150, {0x99, 0x58, 0x00}, {0x00, 0x00, 0x00}},
        {-151, {0x99, 0x57, 0x74}, {0x99, 0x59, 0x74}},
    };
    for (const Row& row : rows) {
        uint8_t block[kSubchannelSize];
        generateSubchannel(row.lba, block);
        const uint8_t* q = block + kSubchannelQOffset;
        EXPECT_EQ(q[0], 0x41) << row.lba;
        EXPECT_EQ((std::array<uint8_t, 3>{q[3], q[4], q[5]}), row.relative) << row.lba;
        EXPECT_EQ(q[6], 0x00) << row.lba;
        EXPECT_EQ((std::array<uint8_t, 3>{q[7], q[8], q[9]}), row.absolute) << row.lba;
        EXPECT_TRUE(qCrcValid(q)) << row.lba;
    }
}

}  // namespace
}  // namespace lumadisc
