// Areas that are never read, sectors that are tried more often, and slow areas that are left.
#include "FailingReader.h"

#include <gtest/gtest.h>

#include <random>

namespace vx {
namespace {

constexpr uint64_t kSector = CarefulReader::kSector;
constexpr uint64_t kKiB = 1024;
constexpr uint64_t kMiB = 1024 * kKiB;
constexpr uint64_t kDisk = uint64_t{1} << 40;
constexpr uint32_t kLimit = 200;  // milliseconds
constexpr int kSlow = 250;

ReadingLimits Withholding(const ByteRanges &ranges)
{
    ReadingLimits limits;
    limits.withheld = std::make_shared<const ByteRanges>(ranges);
    return limits;
}

ReadingLimits Retrying(uint32_t retries)
{
    ReadingLimits limits;
    limits.retries = retries;
    return limits;
}

ReadingLimits LeavingSlow(uint32_t retries = 0)
{
    ReadingLimits limits;
    limits.retries = retries;
    limits.slowMilliseconds = kLimit;
    return limits;
}

// Reads a range and checks every byte: the disk's, or zero where it is said to be unread.
std::vector<std::pair<uint64_t, uint64_t>> ReadChecked(const CarefulReader &reader, uint64_t offset,
                                                       size_t count)
{
    std::vector<char> bytes(count, '?');
    ByteRanges unread;
    const int error = reader.Read(offset, bytes.data(), count, &unread);
    EXPECT_EQ(error != 0, !unread.empty());
    uint64_t wrong = 0;
    std::vector<std::pair<uint64_t, uint64_t>> lost;
    for (const ByteRange &range : unread)
        lost.emplace_back(range.offset, range.length);
    for (uint64_t at = offset; at < offset + count; ++at) {
        const bool isUnread = EndOfRangeAt(unread, at) > at;
        wrong += bytes[at - offset] != (isUnread ? 0 : FailingReader::ByteAt(at));
    }
    EXPECT_EQ(wrong, 0u);
    return lost;
}

using Lost = std::vector<std::pair<uint64_t, uint64_t>>;

TEST(CarefulReaderLimits, WhatIsWithheldIsZerosAndNeverRead)
{
    FailingReader disk;
    const ByteRange withheld = {kMiB + 100, 3 * kKiB + 7};
    const CarefulReader reader(disk, kDisk, Withholding({withheld}));
    EXPECT_EQ(ReadChecked(reader, 0, 4 * kMiB), (Lost{{withheld.offset, withheld.length}}));
    EXPECT_EQ(ReadChecked(reader, kMiB + 200, 10), (Lost{{kMiB + 200, 10}}));
    EXPECT_FALSE(disk.HasRead(withheld));
    EXPECT_FALSE(reader.IsGone());
}

TEST(CarefulReaderLimits, TheErrorOfWhatIsWithheldIsItsOwn)
{
    FailingReader disk;
    const CarefulReader reader(disk, kDisk, Withholding({{0, kKiB}}));
    char bytes[512];
    ByteRanges unread;
    EXPECT_EQ(reader.Read(0, bytes, sizeof bytes, &unread), CarefulReader::kWithheld);
}

TEST(CarefulReaderLimits, ABadRunIsNotFollowedIntoWhatIsWithheld)
{
    FailingReader disk;
    disk.MakeBad(kMiB, kMiB + 64 * kKiB);
    const ByteRange withheld = {kMiB + 20 * kKiB, 8 * kKiB};
    const CarefulReader reader(disk, kDisk, Withholding({withheld}));
    EXPECT_EQ(ReadChecked(reader, 0, 4 * kMiB), (Lost{{kMiB, 64 * kKiB}}));
    EXPECT_FALSE(disk.HasRead(withheld));
}

TEST(CarefulReaderLimits, AnyDiskIsReadRightAroundAnyWithheldRanges)
{
    std::mt19937 random(20261122);
    for (int round = 0; round < 60; ++round) {
        FailingReader disk(static_cast<FailingReader::Says>(round % 3));
        ByteRanges withheld;
        uint64_t at = 0;
        for (int i = 0; i < 6; ++i) {
            at += 1 + random() % (20 * kKiB);
            const uint64_t length = 1 + random() % (9 * kKiB);
            AddRange(at, length, &withheld);
            at += length;
            const uint64_t bad = (at + random() % (8 * kKiB)) / kSector * kSector;
            disk.MakeBad(bad, bad + kSector * (1 + random() % 20));
        }
        const CarefulReader reader(disk, 256 * kKiB, Withholding(withheld));
        for (int read = 0; read < 4; ++read) {
            const uint64_t begin = random() % (256 * kKiB);
            ReadChecked(reader, begin, random() % (256 * kKiB - begin));
        }
        ReadChecked(reader, 0, 256 * kKiB);
        for (const ByteRange &range : withheld)
            EXPECT_FALSE(disk.HasRead(range)) << round;
    }
}

class Retries : public testing::TestWithParam<uint32_t> {};

TEST_P(Retries, ABadSectorIsTriedSoManyTimesMore)
{
    FailingReader disk;
    disk.MakeBad(kMiB, kMiB + kSector);
    const CarefulReader reader(disk, kDisk, Retrying(GetParam()));
    EXPECT_EQ(ReadChecked(reader, 0, 2 * kMiB), (Lost{{kMiB, kSector}}));
    EXPECT_EQ(disk.MostTriesOfASector(), static_cast<int>(1 + GetParam()));
}

// The first read and the one of the sector alone fail as well.
TEST_P(Retries, ASectorThatComesBackInTimeIsRead)
{
    FailingReader disk;
    disk.FailAt(kMiB, static_cast<int>(2 + GetParam()) - 1);
    const CarefulReader reader(disk, kDisk, Retrying(GetParam()));
    EXPECT_EQ(ReadChecked(reader, 0, 2 * kMiB), Lost());
}

INSTANTIATE_TEST_SUITE_P(CarefulReader, Retries, testing::Values(0, 1, 2, 7));

TEST(CarefulReaderLimits, WithRetriesEverySectorOfALongRunIsTried)
{
    FailingReader disk;
    for (uint64_t at = kMiB; at < 2 * kMiB; at += 2 * kSector)
        disk.MakeBad(at, at + kSector);
    const CarefulReader untiring(disk, kDisk, Retrying(1));
    const Lost lost = ReadChecked(untiring, 0, 3 * kMiB);
    EXPECT_EQ(lost.size(), kMiB / (2 * kSector));
    for (const auto &range : lost)
        EXPECT_EQ(range.second, kSector);
}

TEST(CarefulReaderLimits, AfterASlowReadTheFollowingAreaIsLeft)
{
    FailingReader disk;
    disk.MakeSlow({kMiB, 1}, kSlow);
    const CarefulReader reader(disk, kDisk, LeavingSlow());
    EXPECT_EQ(ReadChecked(reader, 0, 4 * kMiB), (Lost{{kMiB + 64 * kKiB, 64 * kKiB}}));
    EXPECT_EQ(disk.SlowReads(), 1);
    EXPECT_FALSE(disk.HasRead({kMiB + 64 * kKiB, 64 * kKiB}));
}

TEST(CarefulReaderLimits, WithoutALimitASlowDiskIsReadWhole)
{
    FailingReader disk;
    disk.MakeSlow({kMiB, kMiB}, kSlow);
    const CarefulReader reader(disk, kDisk);
    EXPECT_EQ(ReadChecked(reader, 0, 4 * kMiB), Lost());
}

TEST(CarefulReaderLimits, ALongSlowAreaTakesFewReads)
{
    FailingReader disk;
    const ByteRange slow = {kMiB, 256 * kMiB};
    disk.MakeSlow(slow, kSlow);
    const CarefulReader reader(disk, kDisk, LeavingSlow());
    std::vector<char> bytes(kMiB);
    uint64_t lost = 0;
    for (uint64_t at = 0; at < slow.offset + 2 * slow.length; at += bytes.size()) {
        ByteRanges unread;
        (void)reader.Read(at, bytes.data(), bytes.size(), &unread);
        for (const ByteRange &range : unread)
            lost += range.length;
    }
    // 64 KiB doubled ten times is 64 MiB, of which four make 256.
    EXPECT_LE(disk.SlowReads(), 10 + 4);
    EXPECT_GT(lost, slow.length - 32 * 64 * kKiB);
    EXPECT_LT(lost, slow.length + CarefulReader::kLongestStride);
}

TEST(CarefulReaderLimits, AGoodPieceMakesTheNextSkipShortAgain)
{
    FailingReader disk;
    disk.MakeSlow({kMiB, 400 * kKiB}, kSlow);
    disk.MakeSlow({3 * kMiB, 1}, kSlow);
    const CarefulReader reader(disk, kDisk, LeavingSlow());
    const Lost lost = ReadChecked(reader, 0, 4 * kMiB);
    ASSERT_FALSE(lost.empty());
    EXPECT_EQ(lost.back(), (std::pair<uint64_t, uint64_t>(3 * kMiB + 64 * kKiB, 64 * kKiB)));
}

TEST(CarefulReaderLimits, ASlowFailureIsNotExamined)
{
    FailingReader disk;
    const ByteRange slow = {kMiB + 4 * kKiB, 200 * kKiB};
    disk.MakeBad(slow.offset, slow.offset + slow.length);
    disk.MakeSlow(slow, kSlow);
    const CarefulReader reader(disk, kDisk, LeavingSlow());
    const Lost lost = ReadChecked(reader, 0, 4 * kMiB);
    ASSERT_EQ(lost.size(), 1u);
    EXPECT_EQ(lost.front().first, slow.offset);
    EXPECT_LE(disk.SlowReads(), 3);
}

TEST(CarefulReaderLimits, WhatWasLeftStaysLeft)
{
    FailingReader disk;
    disk.MakeSlow({kMiB, 1}, kSlow);
    const CarefulReader reader(disk, kDisk, LeavingSlow());
    const Lost first = ReadChecked(reader, 0, 4 * kMiB);
    EXPECT_EQ(ReadChecked(reader, kMiB + 64 * kKiB, 64 * kKiB), first);
}

}  // namespace
}  // namespace vx
