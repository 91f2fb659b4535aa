#include "ReadRecord.h"
#include "RecordingSource.h"

#include "MemoryByteSource.h"
#include "PartOfSource.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

using Ranges = std::vector<std::pair<uint64_t, uint64_t>>;

Ranges RangesOf(const ReadRecord &record)
{
    Ranges ranges;
    for (const ByteRange &range : record.All())
        ranges.emplace_back(range.offset, range.length);
    return ranges;
}

TEST(ReadRecord, NeighboursBecomeOneRange)
{
    ReadRecord record;
    record.Add(10000, 1);
    record.Add(5000, 1);
    record.Add(20000, 5000);
    record.Add(4096, 0);
    EXPECT_EQ(RangesOf(record), (Ranges{{4096, 8192}, {16384, 12288}}));
}

TEST(ReadRecord, NothingIsLostWhenThereAreTooManyRanges)
{
    ReadRecord record;
    constexpr uint64_t kStep = 3 * ReadRecord::kFirstGranule;
    constexpr uint64_t kCount = 3 * ReadRecord::kMostRanges;
    for (uint64_t i = 0; i < kCount; ++i)
        record.Add(i * kStep, 1);
    const ByteRanges all = record.All();
    EXPECT_LE(all.size(), ReadRecord::kMostRanges);
    for (uint64_t i = 0; i < kCount; ++i)
        ASSERT_GT(EndOfRangeAt(all, i * kStep), i * kStep) << i;
}

TEST(ReadRecord, TheEndOfAllNumbersIsNoObstacle)
{
    ReadRecord record;
    record.Add(UINT64_MAX - 10, 10);
    record.Add(UINT64_MAX, 5);
    const ByteRanges all = record.All();
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all.front().offset + all.front().length, UINT64_MAX);
}

class Recording : public testing::Test {
protected:
    std::shared_ptr<ReadRecord> record = std::make_shared<ReadRecord>();
    std::shared_ptr<const ByteSource> disk =
        std::make_shared<MemoryByteSource>(std::vector<uint8_t>(1 << 20, 'x'));
    RecordingSource source{std::make_shared<PartOfSource>(disk, 65536, 65536), record};
    std::vector<char> buffer = std::vector<char>(4096);
    ByteRanges gaps;
};

TEST_F(Recording, WhatIsReadIsRecordedWhereItLiesOnTheDisk)
{
    EXPECT_FALSE(source.ReadAt(4096, buffer.data(), 4096));
    EXPECT_EQ(RangesOf(*record), (Ranges{{65536 + 4096, 4096}}));
}

TEST_F(Recording, TheContentsOfFilesCountOnlyDuringTheOpening)
{
    EXPECT_FALSE(source.Salvage(0, buffer.data(), 4096, &gaps));
    record->EndOpening();
    EXPECT_FALSE(source.Salvage(32768, buffer.data(), 4096, &gaps));
    EXPECT_EQ(RangesOf(*record), (Ranges{{65536, 4096}}));
}

TEST_F(Recording, WhatLiesBeyondTheSourceIsNotRecorded)
{
    source.NoteTable(65536 - 100, 5000);
    source.NoteTable(1 << 20, 5000);
    EXPECT_EQ(RangesOf(*record), (Ranges{{65536 + 61440, 4096}}));
}

}  // namespace
}  // namespace vx
