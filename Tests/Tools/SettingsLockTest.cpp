// The program in whose settings another one left its lock when it died.
#include "PrivateSettings.h"
#include "ToolFixture.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

// The program's settings lie in the test's folder.
class SettingsLock : public ToolTest {
protected:
    SettingsLock() { vxtest::LiveIn(_folder.Path()); }
    ~SettingsLock() override
    {
        setenv("HOME", _home.c_str(), 1);
        unsetenv("GNUSTEP_CONFIG_FILE");
    }

private:
    const std::string _home = getenv("HOME") == nullptr ? "/" : getenv("HOME");
};

// The library says so when it breaks a lock itself, after its 20 seconds.
TEST_F(SettingsLock, ALockThatADeadProgramLeftDoesNotHoldTheStartUp)
{
    const std::string lock = _folder.MakeFolder("Defaults/.lck/.GNUstepDefaults.lck");
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    for (const time_t age : {5, -1000}) {
        mkdir(lock.c_str(), 0700);
        const timespec made = {now.tv_sec - age, 0};
        const timespec times[] = {made, made};
        ASSERT_EQ(utimensat(AT_FDCWD, lock.c_str(), times, 0), 0);
        const Result result = Run({"--list", _volume});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.errors, "");
        EXPECT_NE(access(lock.c_str(), F_OK), 0);
    }
}

}  // namespace
}  // namespace vx
