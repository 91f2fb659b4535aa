// The main function of the tests that need the sample images. A run without one of them has not
// shown what it is for; it names what is missing and ends as skipped, not as passed.
#include "SampleImages.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

// As in CMakeLists.txt.
constexpr int kSkipped = 77;

}  // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    const testing::UnitTest &all = *testing::UnitTest::GetInstance();
    if (status != 0 || all.skipped_test_count() == 0)
        return status;
    std::fputs(vx::bitlocker::SampleImages::Shared().MissingText().c_str(), stdout);
    std::printf("SKIPPED: %d of %d tests, for want of sample images or programs (named above)\n",
                all.skipped_test_count(), all.test_to_run_count());
    return kSkipped;
}
