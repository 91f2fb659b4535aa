// Numbers in bytes that may end too early.
#include "ByteReader.h"
#include "PowerOfTwo.h"

#include <gtest/gtest.h>
#include <limits>

namespace vx {
namespace {

constexpr std::array<uint8_t, 9> kBytes = {1, 2, 3, 4, 5, 6, 7, 8, 0xFF};
constexpr size_t kFarAway = std::numeric_limits<size_t>::max();

TEST(ByteReaderTest, ANumberAtAnOffsetIsLittleEndian)
{
    EXPECT_EQ(U8At(kBytes, 8), 0xFFu);
    EXPECT_EQ(U16At(kBytes, 0), 0x0201u);
    EXPECT_EQ(U32At(kBytes, 2), 0x06050403u);
    EXPECT_EQ(U64At(kBytes, 0), 0x0807060504030201u);
}

TEST(ByteReaderTest, ANumberThatEndsWithTheBytesIsRead)
{
    EXPECT_EQ(U16At(kBytes, 7), 0xFF08u);
    EXPECT_EQ(U32At(kBytes, 5), 0xFF080706u);
    EXPECT_EQ(U64At(kBytes, 1), 0xFF08070605040302u);
}

TEST(ByteReaderTest, ANumberThatReachesBeyondTheEndIsZero)
{
    EXPECT_EQ(U8At(kBytes, 9), 0u);
    EXPECT_EQ(U16At(kBytes, 8), 0u);
    EXPECT_EQ(U32At(kBytes, 6), 0u);
    EXPECT_EQ(U64At(kBytes, 2), 0u);
}

TEST(ByteReaderTest, NoOffsetIsLargeEnoughToWrapAround)
{
    for (const size_t offset : {kFarAway, kFarAway - 1, kFarAway - 3, kFarAway - 7}) {
        EXPECT_EQ(U8At(kBytes, offset), 0u);
        EXPECT_EQ(U16At(kBytes, offset), 0u);
        EXPECT_EQ(U32At(kBytes, offset), 0u);
        EXPECT_EQ(U64At(kBytes, offset), 0u);
    }
}

TEST(ByteReaderTest, NoBytesHoldNoNumber)
{
    EXPECT_EQ(U8At({}, 0), 0u);
    EXPECT_EQ(U64At({}, 0), 0u);
}

TEST(ByteReaderTest, FieldsAreReadInSequence)
{
    ByteReader reader(kBytes);
    EXPECT_EQ(reader.U8(), 1u);
    EXPECT_EQ(reader.U16(), 0x0302u);
    EXPECT_EQ(reader.U32(), 0x07060504u);
    EXPECT_TRUE(reader.Good());
    EXPECT_EQ(reader.Left(), 2u);
}

TEST(ByteReaderTest, AReaderThatPassedTheEndStaysBad)
{
    ByteReader reader(kBytes, 6);
    EXPECT_EQ(reader.U32(), 0u);
    EXPECT_FALSE(reader.Good());
    EXPECT_EQ(reader.U8(), 0u);
    EXPECT_EQ(reader.Bytes(1).size, 0u);
}

TEST(ByteReaderTest, BigEndianNumbersHaveTheirHighestByteFirst)
{
    EXPECT_EQ(ByteReader(kBytes).BigU32(), 0x01020304u);
    EXPECT_EQ(ByteReader(kBytes, 1).BigU64(), 0x02030405060708FFu);
    EXPECT_EQ(ByteReader(kBytes, 7).BigU32(), 0u);
}

TEST(ByteReaderTest, AMarkIsFoundOnlyAsAWhole)
{
    EXPECT_TRUE(ByteReader(kBytes, 1).TakeMark("\x02\x03"));
    EXPECT_FALSE(ByteReader(kBytes, 1).TakeMark("\x02\x04"));
    EXPECT_FALSE(ByteReader(kBytes, 8).TakeMark("\xFF\x0A"));
}

TEST(ByteReaderTest, OnlyPowersOfTwoAreSuch)
{
    for (const uint64_t power : {uint64_t{1}, uint64_t{2}, uint64_t{4096}, uint64_t{1} << 63})
        EXPECT_TRUE(IsPowerOfTwo(power)) << power;
    for (const uint64_t other : {uint64_t{0}, uint64_t{3}, uint64_t{4095}, UINT64_MAX})
        EXPECT_FALSE(IsPowerOfTwo(other)) << other;
}

}  // namespace
}  // namespace vx
