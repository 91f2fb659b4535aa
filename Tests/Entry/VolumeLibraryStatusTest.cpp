#include "VolumeLibraryStatus.h"

#include <cctype>
#include <gtest/gtest.h>
#include <set>
#include <string>

namespace {

// Every number that has a meaning, found by its text.
std::set<int32_t> KnownStatuses()
{
    const std::string unknown = VolumeLibraryStatusText(-1);
    std::set<int32_t> known;
    for (int32_t status = -100; status < 1000; ++status) {
        if (VolumeLibraryStatusText(status) != unknown)
            known.insert(status);
    }
    return known;
}

TEST(VolumeLibraryStatus, TheNumbersAreTheOnesThatAreDocumented)
{
    const std::set<int32_t> expected = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  20, 21, 22, 23,
                                        24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 36, 37};
    EXPECT_EQ(KnownStatuses(), expected);
}

TEST(VolumeLibraryStatus, EveryStatusHasATextOfItsOwn)
{
    std::set<std::string> texts;
    for (const int32_t status : KnownStatuses())
        EXPECT_TRUE(texts.insert(VolumeLibraryStatusText(status)).second) << status;
}

TEST(VolumeLibraryStatus, EveryTextCanFollowAColon)
{
    for (const int32_t status : KnownStatuses()) {
        const std::string text = VolumeLibraryStatusText(status);
        ASSERT_FALSE(text.empty());
        EXPECT_TRUE(std::islower(static_cast<unsigned char>(text.front()))) << text;
        EXPECT_NE(text.back(), '.') << text;
    }
}

TEST(VolumeLibraryStatus, OfSeveralVolumesItSaysHowOneIsChosen)
{
    EXPECT_STREQ(
        VolumeLibraryStatusText(static_cast<int32_t>(VolumeLibraryStatus::kSeveralVolumes)),
        "the disk holds several volumes; choose one with # and its number after the path");
}

TEST(VolumeLibraryStatus, AnUnknownNumberHasATextToo)
{
    EXPECT_STREQ(VolumeLibraryStatusText(12345),
                 "the volume library answered with an unknown status");
}

}  // namespace
