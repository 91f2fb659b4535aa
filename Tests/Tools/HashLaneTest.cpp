// Hashing beside the copying of a large file.
#include "HashLane.h"

#include <gtest/gtest.h>
#include <string>

namespace vx {
namespace {

// Counts bytes and adds them up; waits before a chunk until it may go on.
class SlowSum final : public ChunkHasher {
public:
    struct Gate {
        Mutex mutex;
        Condition changed;
        bool isOpen VX_GUARDED_BY(mutex) = true;

        void Set(bool open)
        {
            const MutexLock lock(mutex);
            isOpen = open;
            changed.NotifyAll();
        }
        void Pass()
        {
            const MutexLock lock(mutex);
            while (!isOpen)
                changed.Wait(mutex);
        }
    };

    explicit SlowSum(Gate &gate) : _gate(gate) {}
    void Begin() override { _hash = {}; }
    void Add(const void *bytes, size_t count) override
    {
        _gate.Pass();
        for (size_t i = 0; i < count; ++i)
            _hash[i % 31] = static_cast<uint8_t>(_hash[i % 31] * 3 +
                                                 static_cast<const unsigned char *>(bytes)[i]);
        ++_hash[31];
    }
    FileHash End() override { return _hash; }

private:
    Gate &_gate;
    FileHash _hash{};
};

class HashLaneTest : public ::testing::Test {
protected:
    FileHash HashOf(const std::vector<std::string> &chunks)
    {
        SlowSum sum(_gate);
        sum.Begin();
        for (const std::string &chunk : chunks)
            sum.Add(chunk.data(), chunk.size());
        return sum.End();
    }

    SlowSum::Gate _gate;
    // The lane ends before what it hashes.
    const std::string _large = std::string(HashLane::kLarge, 'l');
    const std::string _other = std::string(HashLane::kLarge + 7, 'o');
    HashLane _lane{std::make_unique<SlowSum>(_gate)};
};

TEST_F(HashLaneTest, ALargeChunkIsHashedWhileTheCallerGoesOn)
{
    _lane.Begin();
    _gate.Set(false);
    _lane.Add(_large.data(), _large.size());  // returns
    _gate.Set(true);
    EXPECT_EQ(_lane.End(), HashOf({_large}));
}

TEST_F(HashLaneTest, ChunksOfAllSizesAreHashedInTheirOrder)
{
    const std::string small = "small";
    for (int round = 0; round < 20; ++round) {
        _lane.Begin();
        for (const std::string *chunk : {&_large, &small, &_other, &_large, &small})
            _lane.Add(chunk->data(), chunk->size());
        EXPECT_EQ(_lane.End(), HashOf({_large, small, _other, _large, small}));
    }
}

TEST_F(HashLaneTest, OfTwoBuffersTheOneBeforeIsFreeAgain)
{
    std::string first = _large;
    _lane.Begin();
    _lane.Add(first.data(), first.size());
    _lane.Add(_other.data(), _other.size());
    first.assign(first.size(), 'x');
    EXPECT_EQ(_lane.End(), HashOf({_large, _other}));
}

TEST_F(HashLaneTest, AFileThatDidNotArriveLeavesNothingInTheNextOne)
{
    _lane.Begin();
    _lane.Add(_large.data(), _large.size());
    _lane.Begin();
    _lane.Add(_other.data(), _other.size());
    EXPECT_EQ(_lane.End(), HashOf({_other}));
}

TEST_F(HashLaneTest, ALaneMayEndWithinAFile)
{
    _lane.Begin();
    _lane.Add(_large.data(), _large.size());
}

TEST_F(HashLaneTest, WithoutAHasherThereIsNothingToDo)
{
    EXPECT_FALSE(HashLane(nullptr));
    EXPECT_TRUE(_lane);
}

}  // namespace
}  // namespace vx
