#include "ParallelSource.h"

#include "MemoryByteSource.h"
#include "Mutex.h"

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>
#include <set>
#include <thread>
#include <utility>
#include <vector>

namespace vx {
namespace {

constexpr size_t kPart = ParallelSource::kShortestPart;

std::vector<uint8_t> SomeBytes(size_t count)
{
    std::vector<uint8_t> bytes(count);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
    return bytes;
}

TEST(ParallelSource, ALongReadIsTheSameAsItsParts)
{
    const std::vector<uint8_t> bytes = SomeBytes(3 << 20);
    for (size_t readers = 1; readers <= ParallelSource::kMostReaders; ++readers) {
        const ParallelSource source(std::make_shared<MemoryByteSource>(bytes), readers);
        std::vector<uint8_t> read(bytes.size() - 777);
        ASSERT_FALSE(source.ReadAt(700, read.data(), read.size()));
        EXPECT_TRUE(std::equal(read.begin(), read.end(), bytes.begin() + 700));
        EXPECT_TRUE(source.ReadAt(800, read.data(), read.size()));
    }
}

// Which ranges are asked for, and of which threads; some of them cannot be read.
class WatchedSource final : public ByteSource {
public:
    WatchedSource(std::vector<uint8_t> bytes, ByteRanges bad)
        : _bytes(std::move(bytes)), _bad(std::move(bad))
    {
    }
    uint64_t Size() const override { return _bytes.size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        return ReadBySalvage(offset, buffer, count);
    }
    std::vector<size_t> TakeCounts()
    {
        const MutexLock lock(_mutex);
        std::vector<size_t> counts = std::exchange(_counts, {});
        std::sort(counts.begin(), counts.end());
        return counts;
    }
    size_t Threads() const
    {
        const MutexLock lock(_mutex);
        return _threads.size();
    }

protected:
    Error SalvageInside(uint64_t offset, void *buffer, size_t count,
                        ByteRanges *gaps) const override
    {
        std::copy_n(_bytes.begin() + static_cast<ptrdiff_t>(offset), count,
                    static_cast<uint8_t *>(buffer));
        Error error;
        for (const ByteRange &bad : _bad) {
            if (bad.offset < offset || bad.offset >= offset + count)
                continue;
            AddRange(bad.offset, bad.length, gaps);
            if (!error)
                error = {Status::kSystemError, "bad at " + std::to_string(bad.offset), EIO};
        }
        const MutexLock lock(_mutex);
        _counts.push_back(count);
        _threads.insert(std::this_thread::get_id());
        return error;
    }

private:
    const std::vector<uint8_t> _bytes;
    const ByteRanges _bad;
    mutable Mutex _mutex;
    mutable std::vector<size_t> _counts VX_GUARDED_BY(_mutex);
    mutable std::set<std::thread::id> _threads VX_GUARDED_BY(_mutex);
};

TEST(ParallelSource, EachPartOfALongReadHasAThread)
{
    const auto watched = std::make_shared<WatchedSource>(SomeBytes(8 * kPart), ByteRanges());
    const ParallelSource source(watched, 4);
    std::vector<uint8_t> read(8 * kPart);
    ASSERT_FALSE(source.ReadAt(0, read.data(), 4 * kPart + 100));
    EXPECT_EQ(watched->TakeCounts(), (std::vector<size_t>{kPart, kPart, kPart, kPart + 100}));
    EXPECT_GT(watched->Threads(), 1U);
    ASSERT_FALSE(source.ReadAt(0, read.data(), 3 * kPart - 1));
    EXPECT_EQ(watched->TakeCounts().size(), 2U) << "no part is shorter than is worth a thread";
    ASSERT_FALSE(source.ReadAt(0, read.data(), 2 * kPart - 1));
    EXPECT_EQ(watched->TakeCounts(), std::vector<size_t>{2 * kPart - 1});
}

TEST(ParallelSource, TheGapsOfAllPartsAreInOrderAndTheFirstIsTheError)
{
    const ByteRanges bad = {{5, 10}, {kPart + 7, 512}, {3 * kPart, 1}};
    const auto watched = std::make_shared<WatchedSource>(SomeBytes(4 * kPart), bad);
    const ParallelSource source(watched, 4);
    std::vector<uint8_t> read(4 * kPart);
    ByteRanges gaps;
    const Error error = source.Salvage(0, read.data(), read.size(), &gaps);
    EXPECT_EQ(error.detail, "bad at 5");
    ASSERT_EQ(gaps.size(), bad.size());
    for (size_t i = 0; i < bad.size(); ++i) {
        EXPECT_EQ(gaps[i].offset, bad[i].offset);
        EXPECT_EQ(gaps[i].length, bad[i].length);
    }
}

TEST(ParallelSource, AFailingDiskIsReadInOnePiece)
{
    const ByteRanges bad = {{3 * kPart, 1}};
    const auto watched = std::make_shared<WatchedSource>(SomeBytes(4 * kPart), bad);
    const ParallelSource source(watched, 4);
    std::vector<uint8_t> read(4 * kPart);
    EXPECT_TRUE(source.ReadAt(0, read.data(), read.size()));
    EXPECT_EQ(watched->TakeCounts().size(), 4U);
    EXPECT_TRUE(source.ReadAt(0, read.data(), read.size()));
    EXPECT_EQ(watched->TakeCounts(), std::vector<size_t>{4 * kPart});
}

}  // namespace
}  // namespace vx
