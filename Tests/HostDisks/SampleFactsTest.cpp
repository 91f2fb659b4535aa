// The facts of volumes that Windows encrypted (see SampleImages.h).
#include "FactsText.h"
#include "SampleImages.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

using bitlocker::SampleImages;

// The names are fixed here so that a test is listed, and skipped, where the folder is absent.
constexpr const char *kNames[] = {
    "ntfs-cbc128",
    "tree-ntfs-xts128",
    "tree-fat16-cbc128",
    "bitlk-aes-cbc-elephant-256",
    "bitlk-aes-xts-128-clearkey-only",
    "bitlk-aes-xts-128-eow",
    "bitlk-aes-xts-128-smart-card",
    "bitlk-aes-xts-128-startup-key-win11",
    "bitlk-aes-xts-128-two-recovery",
    "bitlk-aes-xts-128-unicode",
    "bitlk-partially-encrypted-aes-cbc-128",
    "bitlk-togo-aes-xts-128",
};

class SampleFacts : public testing::TestWithParam<const char *> {};

TEST_P(SampleFacts, AreThoseThatThePrintedReportHas)
{
    const std::string missing = SampleImages::Shared().Prepare(GetParam());
    if (!missing.empty())
        GTEST_SKIP() << missing << " is missing";
    const std::string path = SampleImages::Shared().Path(GetParam());
    const std::atomic<bool> cancel = false;
    const DiskFacts facts = ReadDiskFacts(VX_INFO, path, cancel);
    EXPECT_EQ(facts.status, 0) << facts.reason;
    EXPECT_EQ(FactsText(facts), FactsTextByPython(VX_INFO, path));
    ASSERT_EQ(facts.volumes.size(), 1u);
    EXPECT_EQ(facts.volumes[0].address, path);
    EXPECT_EQ(facts.volumes[0].kind, "encrypted");
    EXPECT_FALSE(facts.volumes[0].protectors.empty());
}

INSTANTIATE_TEST_SUITE_P(Images, SampleFacts, testing::ValuesIn(kNames));

}  // namespace
}  // namespace vx
