// These suites need an application object and a display; both are made here, once, unless the tests
// are only listed. A home of their own keeps the user's settings out.
#include "PrivateSettings.h"
#include "TemporaryFolder.h"
#include "ThreadChecks.h"
#include "VirtualDisplay.h"

#import "VXApplication.h"

#include <gtest/gtest.h>

#include <iostream>

int main(int argc, char **argv)
{
    vx::CheckThreads();
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();
    const vx::TemporaryFolder home;
    vxtest::LiveIn(home.Path());
    const auto display = vxtest::VirtualDisplay::Start();
    if (display == nullptr) {
        std::cerr << "Xvfb did not start\n";
        return 1;
    }
    NSAutoreleasePool *pool = [NSAutoreleasePool new];
    [VXApplication sharedApplication];
    const int result = RUN_ALL_TESTS();
    [pool release];
    return result;
}
