#include "ByteReader.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

const std::vector<uint8_t> kBytes = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x88, 0x99};

TEST(ByteReader, NumbersAreLittleEndianAtAnyPlace)
{
    EXPECT_EQ(U8At(kBytes, 8), 0x99u);
    EXPECT_EQ(U16At(kBytes, 0), 0x0201u);
    EXPECT_EQ(U16At(kBytes, 7), 0x9988u);
    EXPECT_EQ(U32At(kBytes, 1), 0x05040302u);
    EXPECT_EQ(U64At(kBytes, 0), 0x8807060504030201u);
    EXPECT_EQ(U64At(kBytes, 1), 0x9988070605040302u);
}

TEST(ByteReader, ANumberThatIsNotAllThereIsZero)
{
    EXPECT_EQ(U8At(kBytes, 9), 0u);
    EXPECT_EQ(U16At(kBytes, 8), 0u);
    EXPECT_EQ(U32At(kBytes, 6), 0u);
    EXPECT_EQ(U64At(kBytes, 2), 0u);
    for (const size_t at : {size_t{10}, SIZE_MAX, SIZE_MAX - 1, SIZE_MAX - 7}) {
        EXPECT_EQ(U16At(kBytes, at), 0u);
        EXPECT_EQ(U64At(kBytes, at), 0u);
    }
    EXPECT_EQ(U16At({}, 0), 0u);
}

TEST(ByteReader, ItReadsFieldsOneAfterTheOther)
{
    ByteReader reader(kBytes, 1);
    EXPECT_EQ(reader.U8(), 0x02u);
    EXPECT_EQ(reader.U16(), 0x0403u);
    reader.Skip(1);
    EXPECT_EQ(reader.U32(), 0x99880706u);
    EXPECT_EQ(reader.Left(), 0u);
    EXPECT_TRUE(reader.Good());
}

TEST(ByteReader, AfterAReadBeyondTheEndItIsNotGoodAndGivesZeros)
{
    ByteReader reader(kBytes, 6);
    EXPECT_EQ(reader.U32(), 0u);
    EXPECT_FALSE(reader.Good());
    EXPECT_EQ(reader.U8(), 0u);
    EXPECT_EQ(reader.Bytes(1).size, 0u);
    EXPECT_FALSE(reader.Good());
    EXPECT_EQ(ByteReader(kBytes, SIZE_MAX).U64(), 0u);
}

TEST(ByteReader, OnlyPowersOfTwoAreSuch)
{
    for (int shift = 0; shift < 64; ++shift)
        EXPECT_TRUE(IsPowerOfTwo(uint64_t{1} << shift));
    for (const uint64_t value : {uint64_t{0}, uint64_t{3}, uint64_t{6}, UINT64_MAX})
        EXPECT_FALSE(IsPowerOfTwo(value));
}

}  // namespace
}  // namespace vx
