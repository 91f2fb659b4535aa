// These suites need an application object, a display and the bundle's resources; the texts that
// they look for are the English ones. A home of their own keeps the user's settings out.
#include "PrivateSettings.h"
#include "TemporaryFolder.h"
#include "ThreadChecks.h"
#include "VirtualDisplay.h"

#import "VXApplication.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

int main(int argc, char **argv)
{
    vx::CheckThreads();
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();
    const vx::TemporaryFolder home;
    vxtest::LiveIn(home.Path());
    setenv("LANG", "en_US.UTF-8", 1);
    setenv("LANGUAGE", "en", 1);
    setenv("TZ", "UTC", 1);
    const auto display = vxtest::VirtualDisplay::Start();
    if (display == nullptr) {
        std::cerr << "Xvfb did not start\n";
        return 1;
    }
    NSAutoreleasePool *pool = [NSAutoreleasePool new];
    [VXApplication sharedApplication];
    [NSApp finishLaunching];
    const int result = RUN_ALL_TESTS();
    [pool release];
    return result;
}
