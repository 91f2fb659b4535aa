#include "SettingsLock.h"
#include "TemporaryFolder.h"

#include <chrono>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

timespec At(time_t seconds, long nanoseconds = 0)
{
    return {seconds, nanoseconds};
}

class SettingsLock : public testing::Test {
protected:
    // A lock as the library makes it, of an age in seconds.
    void Lock(double age)
    {
        mkdir(_path.c_str(), 0700);
        timespec now = {};
        clock_gettime(CLOCK_REALTIME, &now);
        now.tv_sec -= static_cast<time_t>(age);
        const timespec times[] = {now, now};
        utimensat(AT_FDCWD, _path.c_str(), times, 0);
    }
    bool IsThere() const { return access(_path.c_str(), F_OK) == 0; }

    vx::TemporaryFolder _folder;
    const std::string _path = _folder.At("lock");
};

TEST(SettingsLockAge, OnlyALockOfThisVeryMomentMayBeHeld)
{
    EXPECT_FALSE(vx::isLockStale(At(100), At(100)));
    EXPECT_FALSE(vx::isLockStale(At(100, 500000000), At(101)));
    EXPECT_FALSE(vx::isLockStale(At(101), At(100, 500000000)));
    EXPECT_TRUE(vx::isLockStale(At(100), At(101)));
    EXPECT_TRUE(vx::isLockStale(At(100), At(90)));
    EXPECT_TRUE(vx::isLockStale(At(0), At(1700000000)));
}

TEST_F(SettingsLock, AStaleOneIsRemovedAtTheFirstLook)
{
    for (const double age : {1.0, 19.0, 3600.0, -60.0}) {
        Lock(age);
        vx::awaitLock(_path);
        EXPECT_FALSE(IsThere()) << age;
    }
}

TEST_F(SettingsLock, OneWhoseHolderDiedAMomentAgoIsRemovedWhenItHasBecomeStale)
{
    Lock(0);
    vx::awaitLock(_path);
    EXPECT_FALSE(IsThere());
}

TEST_F(SettingsLock, OneThatIsHeldIsLeftToItsHolder)
{
    Lock(0);
    std::thread holder([this] {
        // The time for which it is held is what is tested.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(rmdir(_path.c_str()), 0);
    });
    vx::awaitLock(_path);
    holder.join();
}

TEST_F(SettingsLock, NoneIsNothingToWaitFor)
{
    vx::awaitLock(_path);
    vx::awaitLock("");
}

}  // namespace
