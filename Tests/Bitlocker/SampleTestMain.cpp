// The main function of the tests that need the sample images. Without one of them such a run has
// not shown what it is for, and answers so instead of with success.
#include <gtest/gtest.h>

#include <cstdio>

namespace {

// CMakeLists.txt tells it to CTest.
constexpr int kSkipped = 77;

}  // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    const testing::UnitTest &all = *testing::UnitTest::GetInstance();
    if (status != 0 || all.skipped_test_count() == 0)
        return status;
    std::printf("SKIPPED: %d of %d tests, for want of sample images or programs (named above)\n",
                all.skipped_test_count(), all.test_to_run_count());
    return kSkipped;
}
