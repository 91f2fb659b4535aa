// Serves the run loop of the calling thread until a condition holds that no event announces; every
// wait has a deadline.
#pragma once

#import <Foundation/Foundation.h>

#include <functional>

namespace vxtest {

// Looks every hundredth of a second; false after twenty seconds.
inline bool ServeUntil(const std::function<bool()> &condition,
                       NSString *mode = NSDefaultRunLoopMode)
{
    NSDate *deadline = [NSDate dateWithTimeIntervalSinceNow:20];
    while (!condition()) {
        if ([deadline timeIntervalSinceNow] < 0)
            return false;
        @autoreleasepool {
            NSDate *soon = [NSDate dateWithTimeIntervalSinceNow:0.01];
            // A loop that has nothing to wait for in this mode returns at once.
            if (![[NSRunLoop currentRunLoop] runMode:mode beforeDate:soon])
                [NSThread sleepUntilDate:soon];
        }
    }
    return true;
}

}  // namespace vxtest
