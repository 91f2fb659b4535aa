#include "FailingReader.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <random>
#include <thread>

namespace vx {

bool operator==(const ByteRange &one, const ByteRange &other)
{
    return one.offset == other.offset && one.length == other.length;
}

void PrintTo(const ByteRange &range, std::ostream *out)
{
    *out << range.offset << "+" << range.length;
}

namespace {

constexpr uint64_t kSector = CarefulReader::kSector;
constexpr uint64_t kKiB = 1024;
constexpr uint64_t kMiB = 1024 * kKiB;
constexpr uint64_t kDisk = uint64_t{1} << 40;
using Says = FailingReader::Says;

// Reads a range and checks every byte: the disk's, or zero where it is said to be unread.
ByteRanges ReadChecked(const CarefulReader &reader, uint64_t offset, size_t count)
{
    std::vector<char> bytes(count, '?');
    ByteRanges unread;
    const int error = reader.Read(offset, bytes.data(), count, &unread);
    EXPECT_EQ(error != 0, !unread.empty());
    uint64_t wrong = 0;
    auto gap = unread.begin();
    for (uint64_t at = offset; at < offset + count; ++at) {
        while (gap != unread.end() && gap->offset + gap->length <= at)
            ++gap;
        const bool isUnread = gap != unread.end() && gap->offset <= at;
        wrong += bytes[at - offset] != (isUnread ? 0 : FailingReader::ByteAt(at));
    }
    EXPECT_EQ(wrong, 0u);
    return unread;
}

TEST(CarefulReader, AHealthyDiskIsReadInOnePiece)
{
    FailingReader disk;
    const CarefulReader reader(disk, kDisk);
    EXPECT_EQ(ReadChecked(reader, 100, 4 * kMiB), ByteRanges());
    EXPECT_EQ(disk.Reads(), 1);
}

class FailingDisks : public testing::TestWithParam<Says> {
protected:
    FailingReader disk{GetParam()};
    const CarefulReader reader{disk, kDisk};
};

TEST_P(FailingDisks, ABadPageInTheMiddleCostsExactlyThatPage)
{
    disk.MakeBad(2 * kMiB, 2 * kMiB + 4 * kKiB);
    EXPECT_EQ(ReadChecked(reader, 0, 4 * kMiB), (ByteRanges{{2 * kMiB, 4 * kKiB}}));
}

TEST_P(FailingDisks, EachOfSeveralBadPlacesCostsNothingButItself)
{
    disk.MakeBad(0, kSector);
    disk.MakeBad(3 * kSector, 4 * kSector);
    disk.MakeBad(kMiB, kMiB + 8 * kKiB);
    disk.MakeBad(4 * kMiB - kSector, 4 * kMiB);
    EXPECT_EQ(ReadChecked(reader, 0, 4 * kMiB), (ByteRanges{{0, kSector},
                                                            {3 * kSector, kSector},
                                                            {kMiB, 8 * kKiB},
                                                            {4 * kMiB - kSector, kSector}}));
}

TEST_P(FailingDisks, APartOfABadSectorIsUnreadWhereItWasWanted)
{
    disk.MakeBad(10 * kSector, 11 * kSector);
    EXPECT_EQ(ReadChecked(reader, 10 * kSector + 7, 100), (ByteRanges{{10 * kSector + 7, 100}}));
    EXPECT_EQ(ReadChecked(reader, 10 * kSector - 7, 20), (ByteRanges{{10 * kSector, 13}}));
    EXPECT_EQ(ReadChecked(reader, 11 * kSector - 7, 20), (ByteRanges{{11 * kSector - 7, 7}}));
}

TEST_P(FailingDisks, WhatIsKnownToBeBadIsNotTriedAgain)
{
    disk.MakeBad(kMiB, kMiB + 64 * kKiB);
    const ByteRanges first = ReadChecked(reader, 0, 4 * kMiB);
    const int failed = disk.FailedReads();
    EXPECT_EQ(ReadChecked(reader, 0, 4 * kMiB), first);
    EXPECT_EQ(ReadChecked(reader, kMiB, 512), (ByteRanges{{kMiB, 512}}));
    EXPECT_EQ(ReadChecked(reader, kMiB - 100, 70 * kKiB), (ByteRanges{{kMiB, 64 * kKiB}}));
    EXPECT_EQ(disk.FailedReads(), failed);
    EXPECT_EQ(disk.MostTriesOfASector(), 1);
}

TEST_P(FailingDisks, WhatIsAllBadAndKnownIsAnsweredWithoutTheDisk)
{
    disk.MakeBad(0, 4 * kMiB);
    ReadChecked(reader, 0, 4 * kMiB);
    const int reads = disk.Reads();
    EXPECT_EQ(ReadChecked(reader, 0, 4 * kMiB), (ByteRanges{{0, 4 * kMiB}}));
    EXPECT_EQ(disk.Reads(), reads);
}

TEST_P(FailingDisks, AnErrorThatGoesAwayCostsNothing)
{
    disk.FailAt(3 * kMiB + 5, 1);
    EXPECT_EQ(ReadChecked(reader, 0, 4 * kMiB), ByteRanges());
    EXPECT_EQ(disk.FailedReads(), 1);
    EXPECT_EQ(ReadChecked(reader, 0, 4 * kMiB), ByteRanges());
}

TEST_P(FailingDisks, TheEndsOfALongRunAreExact)
{
    for (const uint64_t length : {9 * kKiB, 100 * kKiB + 3 * kSector, 3 * kMiB + kSector}) {
        FailingReader bad(GetParam());
        const CarefulReader careful(bad, kDisk);
        bad.MakeBad(kMiB + 5 * kSector, kMiB + 5 * kSector + length);
        EXPECT_EQ(ReadChecked(careful, 0, 8 * kMiB), (ByteRanges{{kMiB + 5 * kSector, length}}));
    }
}

INSTANTIATE_TEST_SUITE_P(CarefulReader, FailingDisks,
                         testing::Values(Says::kHowFar, Says::kNothing, Says::kTooMuch),
                         [](const auto &tested) {
                             return std::string(tested.param == Says::kHowFar    ? "Honest"
                                                : tested.param == Says::kNothing ? "Silent"
                                                                                 : "Boastful");
                         });

TEST(CarefulReader, AnIsolatedBadSectorIsTouchedTwice)
{
    FailingReader disk;
    const CarefulReader reader(disk, kDisk);
    disk.MakeBad(kMiB, kMiB + kSector);
    ReadChecked(reader, 0, 4 * kMiB);
    EXPECT_EQ(disk.FailedReads(), 2);
}

TEST(CarefulReader, ADeadGibibyteTakesFewReadsAndEndsWhereItEnds)
{
    constexpr size_t kChunk = 4 * kMiB;
    FailingReader disk;
    const CarefulReader reader(disk, kDisk);
    const uint64_t end = 1030 * kMiB + 3 * kSector;
    disk.MakeBad(6 * kMiB + kSector, end);
    uint64_t lost = 0;
    for (uint64_t at = 0; at < 1040 * kMiB; at += kChunk) {
        std::vector<char> bytes(kChunk);
        ByteRanges unread;
        const int before = disk.FailedReads();
        (void)reader.Read(at, bytes.data(), bytes.size(), &unread);
        EXPECT_LE(disk.FailedReads() - before, 80);  // so that a caller can stop in between
        for (const ByteRange &range : unread)
            lost += range.length;
    }
    EXPECT_EQ(lost, end - 6 * kMiB - kSector);
    EXPECT_LE(disk.FailedReads(), 170);
}

TEST(CarefulReader, TheLastPartOfASectorCanBeBad)
{
    FailingReader disk;
    const uint64_t size = kMiB + 100;
    const CarefulReader reader(disk, size);
    disk.MakeBad(kMiB - kSector, kMiB + kSector);
    EXPECT_EQ(ReadChecked(reader, 0, size), (ByteRanges{{kMiB - kSector, kSector + 100}}));
    const int reads = disk.Reads();
    EXPECT_EQ(ReadChecked(reader, size - 1, 1), (ByteRanges{{size - 1, 1}}));
    EXPECT_EQ(disk.Reads(), reads);
}

TEST(CarefulReader, AMissingReadBetweenTwoKnownPlacesIsFilledIn)
{
    FailingReader disk;
    const CarefulReader reader(disk, kDisk);
    disk.MakeBad(kMiB, kMiB + 40 * kKiB);
    // From the middle, then what lies before it.
    ReadChecked(reader, kMiB + 20 * kKiB, kKiB);
    EXPECT_EQ(ReadChecked(reader, 0, 2 * kMiB), (ByteRanges{{kMiB, 40 * kKiB}}));
    EXPECT_EQ(disk.MostTriesOfASector(), 1);
}

TEST(CarefulReader, WhatAnyDiskCanReadIsRight)
{
    std::mt19937 random(1);
    for (int round = 0; round < 20; ++round) {
        FailingReader disk(round % 2 == 0 ? Says::kHowFar : Says::kNothing);
        const CarefulReader reader(disk, 256 * kKiB);
        uint64_t bad = 0;
        for (uint64_t at = random() % 8; at < 500; at += 17 + random() % 40) {
            const uint64_t length = 1 + random() % 15;
            disk.MakeBad(at * kSector, std::min<uint64_t>(512, at + length) * kSector);
            bad += std::min<uint64_t>(512, at + length) - at;
        }
        for (int read = 0; read < 20; ++read) {
            const uint64_t begin = random() % (200 * kKiB);
            ReadChecked(reader, begin, random() % (256 * kKiB - begin));
        }
        uint64_t lost = 0;
        for (const ByteRange &range : ReadChecked(reader, 0, 256 * kKiB))
            lost += range.length;
        EXPECT_EQ(lost, bad * kSector);
        EXPECT_LE(disk.MostTriesOfASector(), 2);  // where nothing but a sector was wanted
    }
}

TEST(CarefulReader, ThreadsTryABadSectorOnce)
{
    FailingReader disk;
    const CarefulReader reader(disk, kDisk);
    disk.MakeBad(kMiB, kMiB + 16 * kKiB);
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number)
        threads.emplace_back([&] {
            EXPECT_EQ(ReadChecked(reader, 0, 2 * kMiB), (ByteRanges{{kMiB, 16 * kKiB}}));
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(disk.MostTriesOfASector(), 1);
}

TEST(CarefulReader, ADiskThatGoesAwayIsNotTriedAgain)
{
    FailingReader disk;
    const CarefulReader reader(disk, kDisk);
    EXPECT_FALSE(reader.IsGone());
    disk.Go(ENXIO);
    EXPECT_EQ(ReadChecked(reader, 5, 4 * kMiB), (ByteRanges{{5, 4 * kMiB}}));
    EXPECT_TRUE(reader.IsGone());
    EXPECT_EQ(ReadChecked(reader, 0, kMiB), (ByteRanges{{0, kMiB}}));
    EXPECT_EQ(disk.Reads(), 1);
    EXPECT_EQ(disk.Questions(), 1);  // who has other things there learns of it
}

TEST(CarefulReader, WantOfMemoryBelowSaysNothingAboutTheDisk)
{
    FailingReader disk;
    const CarefulReader reader(disk, kDisk);
    disk.Go(ENOMEM);
    EXPECT_EQ(ReadChecked(reader, 0, kMiB), (ByteRanges{{0, kMiB}}));
    disk.Go(0);
    EXPECT_EQ(ReadChecked(reader, 0, kMiB), ByteRanges());
}

}  // namespace
}  // namespace vx
