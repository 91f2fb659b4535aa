#include "StepProgress.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace vx {
namespace {

struct Heard {
    VolumeOpeningStep step;
    uint64_t done;
    uint64_t total;
    uint32_t seconds;
};

void Hear(void *context, VolumeOpeningStep step, uint64_t done, uint64_t total, uint32_t seconds)
{
    static_cast<std::vector<Heard> *>(context)->push_back({step, done, total, seconds});
}

TEST(StepProgressTest, TheTotalIsReportedBeforeTheStepBegins)
{
    std::vector<Heard> heard;
    const StepProgress progress({Hear, &heard}, VolumeOpeningStep::kSearching, 500);
    ASSERT_EQ(heard.size(), 1U);
    EXPECT_EQ(heard[0].step, VolumeOpeningStep::kSearching);
    EXPECT_EQ(heard[0].done, 0U);
    EXPECT_EQ(heard[0].total, 500U);
    EXPECT_EQ(heard[0].seconds, 0U);
}

TEST(StepProgressTest, TheDurationIsEstimatedFromWhatWasDone)
{
    std::vector<Heard> heard;
    StepProgress progress({Hear, &heard}, VolumeOpeningStep::kTryingSecrets, 1000);
    // A tenth of a second is what the first of a thousand takes.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    progress.Report(1);
    ASSERT_EQ(heard.size(), 2U);
    EXPECT_EQ(heard[1].done, 1U);
    EXPECT_GE(heard[1].seconds, 100U);
    EXPECT_LT(heard[1].seconds, 100U * 100U);
}

TEST(StepProgressTest, ItIsReportedAFewTimesASecondAtMost)
{
    std::vector<Heard> heard;
    StepProgress progress({Hear, &heard}, VolumeOpeningStep::kSearching, 1000000);
    const auto start = std::chrono::steady_clock::now();
    for (uint64_t done = 1; done <= 100000; ++done)
        progress.Report(done);
    const auto quarters =
        (std::chrono::steady_clock::now() - start) / std::chrono::milliseconds(250);
    EXPECT_LE(heard.size(), 2U + static_cast<size_t>(quarters));
}

TEST(StepProgressTest, WithoutAReceiverNothingIsReported)
{
    StepProgress progress({}, VolumeOpeningStep::kSearching, 10);
    progress.Report(5);
}

}  // namespace
}  // namespace vx
