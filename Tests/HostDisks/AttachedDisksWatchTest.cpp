// Disks that come and go.
#include "Eventually.h"
#include "StandInDisks.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace vx {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class Counter {
public:
    std::function<void()> Counting()
    {
        return [this] { ++_count; };
    }
    int Count() const { return _count; }
    bool Reaches(int count)
    {
        return Eventually([&] { return _count >= count; }, milliseconds(5000));
    }

private:
    std::atomic<int> _count = 0;
};

TEST(AttachedDisksWatch, AStickThatComesAndGoesIsAnnounced)
{
    StandInDisks disks;
    Counter counter;
    const AttachedDisksWatch watch(counter.Counting());
    disks.AddDisk("sdb", "8:16", "4096");
    ASSERT_TRUE(counter.Reaches(1));
    const int before = counter.Count();
    disks.Unplug("sdb");
    EXPECT_TRUE(counter.Reaches(before + 1));
}

TEST(AttachedDisksWatch, ALabelThatChangesIsAnnounced)
{
    StandInDisks disks;
    disks.AddDisk("sdb", "8:16", "4096");
    Counter counter;
    const AttachedDisksWatch watch(counter.Counting());
    disks.SetUdev("8:16", "E:ID_FS_LABEL=new\n");
    EXPECT_TRUE(counter.Reaches(1));
}

TEST(AttachedDisksWatch, NothingIsAnnouncedWhileNothingChanges)
{
    StandInDisks disks;
    disks.AddDisk("sdb", "8:16", "4096");
    Counter counter;
    const AttachedDisksWatch watch(counter.Counting());
    std::this_thread::sleep_for(milliseconds(1200));  // more than two looks: silence is the result
    EXPECT_EQ(counter.Count(), 0);
}

TEST(AttachedDisksWatch, OfAStandInEndsWithinASecond)
{
    StandInDisks disks;
    auto watch = std::make_unique<AttachedDisksWatch>([] {});
    const Clock::time_point begin = Clock::now();
    watch.reset();
    EXPECT_LT(Clock::now() - begin, milliseconds(1000));
}

TEST(AttachedDisksWatch, OfTheSystemEndsWithinASecond)
{
    auto watch = std::make_unique<AttachedDisksWatch>([] {});
    const Clock::time_point begin = Clock::now();
    watch.reset();
    EXPECT_LT(Clock::now() - begin, milliseconds(1000));
}

TEST(AttachedDisksWatch, ManyComeAndEnd)
{
    StandInDisks disks;
    for (int i = 0; i < 50; ++i)
        const AttachedDisksWatch watch([] {});
}

}  // namespace
}  // namespace vx
