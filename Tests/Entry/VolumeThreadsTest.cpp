// One thread lists while others read, as the explorer does; the thread sanitizer watches.
#include "TestImage.h"

#include <atomic>
#include <thread>

namespace vx {
namespace {

TestTree ManyFiles()
{
    TestTree tree;
    for (int i = 0; i < 60; ++i)
        tree["folder" + std::to_string(i % 6) + "/file" + std::to_string(i)] =
            NoiseBytes(3000 + 100 * static_cast<size_t>(i), static_cast<unsigned>(i));
    return tree;
}

void ExpectTwoThreadsAgree(const TestImage &image, const TestTree &tree)
{
    ASSERT_TRUE(image.Encrypt("--password correct"));
    const Opened opened = OpenImage(image.Path(), "password", "correct");
    ASSERT_TRUE(opened.volume) << opened.detail;
    std::atomic<bool> isReading{true};
    std::thread lister([&] {
        while (isReading)
            EXPECT_EQ(ListFolder(*opened.volume, u"/folder1/*")->size(), 10u);
    });
    for (int round = 0; round < 5; ++round) {
        for (const auto &[path, contents] : tree)
            EXPECT_TRUE(ReadWholeFile(*opened.volume, u"/" + Utf16(path)) == contents) << path;
    }
    isReading = false;
    lister.join();
}

TEST(VolumeThreads, ListingAndReadingAtTheSameTimeAgreeOnFat)
{
    VX_NEEDS("mkfs.fat");
    VX_NEEDS("mcopy");
    const TestImage image{};
    const TestTree tree = ManyFiles();
    ASSERT_TRUE(image.MakeFat(8, "-F 12"));
    ASSERT_TRUE(image.FillFat(tree));
    ExpectTwoThreadsAgree(image, tree);
}

TEST(VolumeThreads, ListingAndReadingAtTheSameTimeAgreeOnNtfs)
{
    if (!CanMountNtfs())
        GTEST_SKIP() << "mkntfs, ntfs-3g or /dev/fuse is missing";
    const TestImage image{};
    const TestTree tree = ManyFiles();
    ASSERT_TRUE(image.MakeNtfs(8));
    ASSERT_TRUE(image.FillNtfs(tree));
    ExpectTwoThreadsAgree(image, tree);
}

}  // namespace
}  // namespace vx
