#include <gtest/gtest.h>

#include "disc/disc_model.h"

namespace lumadisc {
namespace {

TEST(DiscModel, BcdConversionHasNoRangeCheck) {
    EXPECT_EQ(bcdFromBinary(99), 0x99);
    EXPECT_EQ(bcdFromBinary(100), 0xA0);
    EXPECT_EQ(binaryFromBcd(0xAF), 115);  // nibbles are not validated
}

}  // namespace
}  // namespace lumadisc
