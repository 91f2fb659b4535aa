#include "HandleVolume.h"
#include "ReadAheadTest.h"

namespace vx {
namespace {

TEST_F(ReadAhead, ReadsOfAllSizesGiveTheWholeFile)
{
    for (const uint32_t chunk : {kMiB, 4 * kMiB, 7 * kMiB, kMiB + 4097}) {
        const auto file = Open();
        int64_t length = 0;
        for (uint32_t count = chunk; ReadWell(*file, count) > 0; length += done)
            count = length % 3 == 0 ? 65536 : chunk;
        EXPECT_EQ(length, kSize);
        EXPECT_EQ(file->Position(), kSize);
        EXPECT_TRUE(file->UnreadRanges().empty());
    }
    EXPECT_GT(script.ByOthers(), 10u);
}

TEST_F(ReadAhead, TheNextChunksAreReadWithoutBeingAskedFor)
{
    const auto file = Open();
    BeginAhead(*file, 4 * kMiB);
    ASSERT_TRUE(WillHaveRead(20 * int64_t{kMiB}));
    EXPECT_TRUE(file->IsAhead());
    const size_t before = script.All().size();
    script.HoldFrom(0);
    ReadWell(*file, 2 * kMiB);
    ReadWell(*file, 2 * kMiB);
    EXPECT_EQ(script.All().size(), before);
    script.Release();
}

TEST_F(ReadAhead, OnlyAWindowIsReadAheadAndNothingBeyondTheEnd)
{
    const auto file = Open();
    BeginAhead(*file, 4 * kMiB);
    ASSERT_TRUE(WillHaveRead(20 * int64_t{kMiB}));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(script.FurthestEnd(), 20 * int64_t{kMiB});
    ReadToEnd(*file, 4 * kMiB);
    for (const Tried &tried : script.All()) {
        if (tried.thread != std::this_thread::get_id())
            EXPECT_LE(tried.position + tried.count, kSize);
    }
}

TEST_F(ReadAhead, SmallReadsAndReadsHereAndThereAreNotReadAheadOf)
{
    const auto file = Open();
    for (int i = 0; i < 40; ++i)
        ReadWell(*file, kMiB - 1);
    for (const int64_t position : {30, 3, 20, 7, 9, 5}) {
        ASSERT_TRUE(file->Move(position * int64_t{kMiB}, 0));
        ReadWell(*file, kMiB);
    }
    EXPECT_FALSE(file->IsAhead());
    EXPECT_EQ(script.ByOthers(), 0u);
}

TEST_F(ReadAhead, ASeekDropsTheWindow)
{
    const auto file = Open();
    BeginAhead(*file);
    ASSERT_TRUE(WillHaveRead(5 * int64_t{kMiB}));
    for (const int64_t position : {int64_t{kMiB} / 2, 3 * int64_t{kMiB} + 5, int64_t{30} * kMiB}) {
        ASSERT_TRUE(file->Move(position, 0));
        EXPECT_FALSE(file->IsAhead());
        ReadWell(*file, 1000);
        EXPECT_EQ(script.All().back().thread, std::this_thread::get_id());
    }
    BeginAhead(*file);
    EXPECT_TRUE(Eventually([&] { return script.FurthestEnd() > 34 * int64_t{kMiB}; }));
    ReadWell(*file, 3 * kMiB);
}

TEST_F(ReadAhead, ABadPlaceIsReportedOnlyToTheReadThatComesToIt)
{
    script.bad = 3 * int64_t{kMiB} + 700;
    const auto file = Open();
    BeginAhead(*file);
    ASSERT_TRUE(WillHaveRead(4 * int64_t{kMiB}));
    EXPECT_TRUE(file->UnreadRanges().empty());
    ReadWell(*file, kMiB);
    EXPECT_TRUE(file->UnreadRanges().empty());
    EXPECT_FALSE(Read(*file, kMiB));
    EXPECT_EQ(done, kMiB - 1);
    EXPECT_EQ(buffer[700], '\0');
    EXPECT_EQ(buffer[701], ByteAt(script.bad + 1));
    ASSERT_EQ(file->UnreadRanges().size(), 1u);
    EXPECT_EQ(file->UnreadRanges()[0].offset, static_cast<uint64_t>(script.bad));
    EXPECT_EQ(file->UnreadRanges()[0].length, 1u);
}

TEST_F(ReadAhead, ABadPlaceThatIsSkippedIsNotReported)
{
    script.bad = 3 * int64_t{kMiB} + 700;
    const auto file = Open();
    BeginAhead(*file);
    ASSERT_TRUE(WillHaveRead(4 * int64_t{kMiB}));
    ASSERT_TRUE(file->Move(script.bad + 1, 0));
    ReadToEnd(*file, kMiB);
    EXPECT_TRUE(file->UnreadRanges().empty());
}

TEST_F(ReadAhead, FromTheFirstBadPlaceOnNothingIsReadAhead)
{
    script.bad = 4 * int64_t{kMiB};
    const auto file = Open();
    BeginAhead(*file, 2 * kMiB);
    ASSERT_TRUE(WillHaveRead(6 * int64_t{kMiB}));
    for (int i = 0; i < 10; ++i)
        Read(*file, 2 * kMiB);
    EXPECT_EQ(script.ByOthers(), 1u);
    EXPECT_EQ(script.FurthestEnd(), 24 * int64_t{kMiB});
}

TEST_F(ReadAhead, AFileWithABadPlaceInItsFirstChunkIsNeverReadAhead)
{
    script.bad = 5;
    const auto file = Open();
    EXPECT_FALSE(Read(*file, kMiB));
    for (int i = 0; i < 10; ++i) {
        ReadWell(*file, kMiB);
        EXPECT_FALSE(file->IsAhead());
    }
    EXPECT_EQ(script.ByOthers(), 0u);
}

TEST_F(ReadAhead, WithoutMemoryForItTheFileIsReadByTheCaller)
{
    script.throwsFrom = 6 * int64_t{kMiB};
    const auto file = Open();
    EXPECT_EQ(ReadToEnd(*file, 2 * kMiB), kSize);
    EXPECT_TRUE(file->UnreadRanges().empty());
}

TEST_F(ReadAhead, WithoutAnyMemoryTheReadThatComesToItIsUnread)
{
    script.throwsFrom = 6 * int64_t{kMiB};
    script.throwsOnlyAhead = false;
    const auto file = Open();
    for (int i = 0; i < 3; ++i)
        ReadWell(*file, 2 * kMiB);
    EXPECT_FALSE(Read(*file, 2 * kMiB));
    EXPECT_EQ(buffer, std::string(2 * kMiB, '\0'));
    EXPECT_EQ(done, 0u);
    script.throwsFrom = kNowhere;
    ReadToEnd(*file, 2 * kMiB);
    ASSERT_EQ(file->UnreadRanges().size(), 1u);
    EXPECT_EQ(file->UnreadRanges()[0].offset, 6u * kMiB);
    EXPECT_EQ(file->UnreadRanges()[0].length, 2u * kMiB);
}

TEST_F(ReadAhead, ClosingWaitsForTheChunkThatIsBeingRead)
{
    script.HoldFrom(2 * int64_t{kMiB});
    auto file = Open();
    BeginAhead(*file);
    ASSERT_TRUE(Eventually([&] { return script.readers == 1; }));
    std::thread releasing([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_FALSE(script.isClosed);
        script.Release();
    });
    file.reset();
    EXPECT_TRUE(script.isClosed);
    releasing.join();
    EXPECT_FALSE(script.wasReadAfterClosing);
    EXPECT_EQ(script.FurthestEnd(), 3 * int64_t{kMiB});
}

// Its disk goes away when the test says so.
class GoingVolume final : public HandleVolume {
public:
    explicit GoingVolume(std::unique_ptr<VolumeFile> file) : _file(std::move(file)) {}
    bool IsGone() override { return isGone; }

    bool isGone = false;

protected:
    std::unique_ptr<VolumeListing> OpenListing(const VolumePath &) override { return nullptr; }
    std::unique_ptr<VolumeFile> OpenVolumeFile(const VolumePath &) override
    {
        return std::move(_file);
    }
    VolumeEntryReport Describe(const VolumePath &) override { return {}; }

private:
    std::unique_ptr<VolumeFile> _file;
};

TEST_F(ReadAhead, WhatWasReadBeforeTheDiskWentIsHandedOut)
{
    auto opened = Open(4 * int64_t{kMiB});
    BeginAhead(*opened);
    ASSERT_TRUE(WillHaveRead(4 * int64_t{kMiB}));
    GoingVolume volume(std::move(opened));
    const VolumeHandle file = volume.OpenFile(u"/file", 0, 0, 0);
    volume.isGone = true;
    buffer.assign(kMiB, '?');
    EXPECT_TRUE(volume.ReadFile(file, &buffer[0], kMiB, &done));
    EXPECT_EQ(done, kMiB);
    EXPECT_EQ(buffer[1], ByteAt(2 * int64_t{kMiB} + 1));
    uint32_t low = 1, high = 0;
    EXPECT_TRUE(volume.SetFilePosition(file, &low, &high, 0));
    const size_t before = script.All().size();
    EXPECT_FALSE(volume.ReadFile(file, &buffer[0], kMiB, &done));
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(buffer, std::string(kMiB, '\0'));
    EXPECT_EQ(script.All().size(), before);
    volume.CloseHandle(file);
}

TEST_F(ReadAhead, AllFilesTogetherTakeNoMoreThanTheRoom)
{
    constexpr size_t kWindow = ReadAheadFile::kChunks * size_t{ReadAheadFile::kLargestChunk};
    constexpr size_t kFit = ReadAheadRoom::kBytes / kWindow;
    std::vector<std::unique_ptr<ReadAheadFile>> files;
    for (size_t i = 0; i < kFit + 1; ++i) {
        files.push_back(Open());
        BeginAhead(*files.back(), 4 * kMiB);
        EXPECT_EQ(files.back()->IsAhead(), i < kFit);
    }
    files.erase(files.begin());
    ReadWell(*files.back(), 4 * kMiB);
    EXPECT_TRUE(files.back()->IsAhead());
    files.clear();
    EXPECT_TRUE(room.Take(ReadAheadRoom::kBytes));
}

}  // namespace
}  // namespace vx
