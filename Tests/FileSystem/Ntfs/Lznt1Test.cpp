#include "Lznt1.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vx {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(Lznt1, AChunkThatIsNotPackedIsCopied)
{
    uint8_t out[6] = {};
    ASSERT_EQ(DecompressLznt1(Bytes{0x02, 0x30, 'a', 'b', 'c'}, true, out, sizeof out), sizeof out);
    EXPECT_EQ(std::string(out, out + 6), std::string("abc\0\0\0", 6));
}

TEST(Lznt1, AReferenceRepeatsWhatLiesBack)
{
    // "ab", then six bytes from two back.
    uint8_t out[8] = {};
    ASSERT_EQ(DecompressLznt1(Bytes{0x04, 0xB0, 0x04, 'a', 'b', 0x03, 0x10}, true, out, sizeof out),
              sizeof out);
    EXPECT_EQ(std::string(out, out + 8), "abababab");
}

TEST(Lznt1, WhatLeadsBeforeTheBeginningOrBehindTheEndIsDamaged)
{
    uint8_t out[8] = {};
    EXPECT_EQ(DecompressLznt1(Bytes{0x02, 0xB0, 0x01, 0x00, 0x00}, true, out, sizeof out), 0u);
    EXPECT_EQ(DecompressLznt1(Bytes{0x03, 0xB0, 0x02, 'a', 0x00, 0x10}, true, out, sizeof out), 0u);
    EXPECT_EQ(DecompressLznt1(Bytes{0x03, 0xB0, 0x02, 'a', 0xFF, 0x00}, true, out, sizeof out), 0u);
    EXPECT_EQ(DecompressLznt1(Bytes{0xFF, 0xBF, 0x00}, true, out, sizeof out), 0u);
}

}  // namespace
}  // namespace vx
