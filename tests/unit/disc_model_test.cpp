#include <gtest/gtest.h>

#include "disc/disc_model.h"

namespace lumadisc {
namespace {

TEST(DiscModel, BcdConversionHasNoRangeCheck) {
    EXPECT_EQ(bcdFromBinary(37), 0x37);
    EXPECT_EQ(bcdFromBinary(99), 0x99);
    EXPECT_EQ(bcdFromBinary(100), 0xA0);
    EXPECT_EQ(binaryFromBcd(0x37), 37);
    EXPECT_EQ(binaryFromBcd(0xAF), 115);  // nibbles are not validated
}

TEST(DiscModel, AbsoluteTimeCarriesTheTwoSecondOffset) {
    EXPECT_EQ(lbaFromMsf(0, 2, 0), 0);
    EXPECT_EQ(lbaFromMsf(0, 0, 0), -150);
    EXPECT_EQ(lbaFromMsf(0, 15, 25), 1000);
    const Msf msf = msfFromLba(4350);
    EXPECT_EQ(msf.minute, 1);
    EXPECT_EQ(msf.second, 0);
    EXPECT_EQ(msf.frame, 0);
}

}  // namespace
}  // namespace lumadisc
