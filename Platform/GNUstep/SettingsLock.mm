#include "SettingsLock.h"

#import <Foundation/Foundation.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <sys/stat.h>
#include <thread>

namespace vx {
namespace {

constexpr double kLongestHold = 1;  // seconds
constexpr std::chrono::seconds kPatience(2);
constexpr std::chrono::milliseconds kRetry(5);

double secondsBetween(timespec earlier, timespec later)
{
    return double(later.tv_sec - earlier.tv_sec) + 1e-9 * double(later.tv_nsec - earlier.tv_nsec);
}

timespec wallClock()
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

// Foundation cannot start in a process whose arguments are not UTF-8; the program reports that
// itself.
bool areArgumentsPlain()
{
    std::ifstream arguments("/proc/self/cmdline", std::ios::binary);
    for (char byte; arguments.get(byte);) {
        if (static_cast<unsigned char>(byte) >= 0x80)
            return false;
    }
    return true;
}

void awaitSettingsLock()
{
    NSAutoreleasePool *pool = [NSAutoreleasePool new];
    awaitLock(settingsLockPath());
    [pool release];
}

}  // namespace

void awaitSettingsLockAtStart()
{
    if (areArgumentsPlain())
        awaitSettingsLock();
}

bool isLockStale(timespec made, timespec now)
{
    const double age = secondsBetween(made, now);
    return age >= kLongestHold || age < -kLongestHold;
}

void awaitLock(const std::string &path)
{
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    struct stat lock = {};
    while (lstat(path.c_str(), &lock) == 0 && std::chrono::steady_clock::now() < deadline) {
        if (isLockStale(lock.st_mtim, wallClock())) {
            remove(path.c_str());
            return;
        }
        std::this_thread::sleep_for(kRetry);
    }
}

std::string settingsLockPath()
{
    NSString *folder = GSDefaultsRootForUser(NSUserName());
    NSString *lock = [folder stringByAppendingPathComponent:@".lck/.GNUstepDefaults.lck"];
    const char *path = [lock fileSystemRepresentation];
    return path == nullptr ? "" : path;
}

}  // namespace vx

@interface VXSettingsLock : NSObject
@end

@implementation VXSettingsLock

+ (void)load
{
    vx::awaitSettingsLockAtStart();
}

@end
