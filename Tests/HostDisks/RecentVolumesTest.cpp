#include "RecentVolumes.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

namespace vx {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

TEST(RecentVolumes, TheNewestIsFirstAndEachIsThereOnce)
{
    RecentVolumes volumes;
    volumes.Add("/a");
    volumes.Add("/b");
    volumes.Add("/a");
    volumes.Add("");
    EXPECT_THAT(volumes.Paths(), ElementsAre("/a", "/b"));
}

TEST(RecentVolumes, TenAreKept)
{
    RecentVolumes volumes;
    for (int i = 0; i < 12; ++i)
        volumes.Add("/" + std::to_string(i));
    EXPECT_THAT(volumes.Paths(), SizeIs(10));
    EXPECT_EQ(volumes.Paths().front(), "/11");
    EXPECT_EQ(volumes.Paths().back(), "/2");
}

TEST(RecentVolumes, WhatWasStoredKeepsItsOrder)
{
    const RecentVolumes volumes({"/a", "", "/b", "/a", "/c"});
    EXPECT_THAT(volumes.Paths(), ElementsAre("/a", "/b", "/c"));
}

TEST(RecentVolumes, ARemovedOneIsGone)
{
    RecentVolumes volumes({"/a", "/b"});
    volumes.Remove("/a");
    volumes.Remove("/none");
    EXPECT_THAT(volumes.Paths(), ElementsAre("/b"));
}

TEST(RecentVolumes, AMissingFileIsMarkedAndAVolumeOfAnImageIsNot)
{
    const TemporaryFolder folder;
    const std::string image = folder.WriteFile("disk.img", "x");
    const std::string odd = folder.WriteFile("odd#3", "x");
    const RecentVolumes volumes({image, image + "#2", image + "@1048576", image + "#x",
                                 folder.At("none"), folder.At("none#2"), odd});
    std::vector<bool> missing;
    for (const RecentVolume &volume : volumes.Look())
        missing.push_back(volume.isMissing);
    EXPECT_THAT(missing, ElementsAre(false, false, false, true, true, true, false));
}

TEST(RecentVolumes, AnOffsetMayBeHexadecimalAndANumberMayNot)
{
    const TemporaryFolder folder;
    const std::string image = folder.WriteFile("disk.img", "x");
    const RecentVolumes volumes({image + "@0x100000", image + "@0XFf", image + "@0x",
                                 image + "@0xfg", image + "@ff", image + "@", image + "#0x1",
                                 folder.At("none@0x100000")});
    std::vector<bool> missing;
    for (const RecentVolume &volume : volumes.Look())
        missing.push_back(volume.isMissing);
    EXPECT_THAT(missing, ElementsAre(false, false, true, true, true, true, true, true));
}

}  // namespace
}  // namespace vx
