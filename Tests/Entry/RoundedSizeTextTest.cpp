#include "RoundedSizeText.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

constexpr uint64_t kMiB = uint64_t{1} << 20;
constexpr uint64_t kGiB = uint64_t{1} << 30;

TEST(RoundedSizeText, OneByteIsSingular)
{
    EXPECT_EQ(RoundedSizeText(0), "0 bytes");
    EXPECT_EQ(RoundedSizeText(1), "1 byte");
    EXPECT_EQ(RoundedSizeText(2), "2 bytes");
}

TEST(RoundedSizeText, BytesAreExactAndLargerUnitsAreRounded)
{
    EXPECT_EQ(RoundedSizeText(kMiB - 1), "1048575 bytes");
    EXPECT_EQ(RoundedSizeText(kMiB), "1 MiB");
    EXPECT_EQ(RoundedSizeText(kGiB - 1), "1023 MiB");
    EXPECT_EQ(RoundedSizeText(kGiB + kGiB / 2), "1.5 GiB");
}

}  // namespace
}  // namespace vx
