// A lock file that another host removes, or replaces, between the opening of it and the lock on it;
// so flock() is a stand-in here, for the whole program.
#include "HostLock.h"
#include "PipeFolder.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fstream>
#include <functional>
#include <memory>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace {

// Called once, before the next lock.
std::function<void()> g_beforeLock;

}  // namespace

extern "C" int flock(int descriptor, int operation) noexcept
{
    using Function = int (*)(int, int);
    static const auto system = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "flock"));
    if (const auto before = std::exchange(g_beforeLock, nullptr))
        before();
    return system(descriptor, operation);
}

// Its answer lies where another thread's question puts the next one: a host asks in another way.
extern "C" struct passwd *getpwuid(uid_t)
{
    return nullptr;
}

namespace {

class HostLockRaceTest : public testing::Test {
protected:
    PipeFolder _folder;
    const std::string _path = _folder.At("lock");
};

TEST_F(HostLockRaceTest, AFileThatWasRemovedMeanwhileIsNotTheLock)
{
    std::ofstream(_path) << "";
    g_beforeLock = [this] { unlink(_path.c_str()); };
    const vx::HostLock first(_path);
    EXPECT_TRUE(first.IsHeld());
    EXPECT_FALSE(vx::HostLock(_path).IsHeld()) << "two hosts at a time";
}

TEST_F(HostLockRaceTest, AFileThatAnotherHostReplacedMeanwhileIsTheLockOfThatHost)
{
    std::ofstream(_path) << "";
    std::unique_ptr<vx::HostLock> other;
    g_beforeLock = [&] {
        unlink(_path.c_str());
        other = std::make_unique<vx::HostLock>(_path);
    };
    const vx::HostLock late(_path);
    EXPECT_TRUE(other->IsHeld());
    EXPECT_FALSE(late.IsHeld());
}

}  // namespace
