// Which options the library takes, and whom they concern.
#include "TemporaryFolder.h"
#include "VolumeLibrary.h"
#include "VolumeLibraryStatus.h"

#include <gtest/gtest.h>

#include <thread>

namespace vx {
namespace {

class Options : public testing::Test {
protected:
    void TearDown() override { EXPECT_TRUE(volume_library_set_opening_options(nullptr)); }

    // A folder opens only if no option names places of a disk.
    VolumeLibraryStatus Open() const
    {
        IVolume *volume = nullptr;
        return static_cast<VolumeLibraryStatus>(
            open_bitlocker_device(folder.Path().c_str(), "none", "", &volume));
    }

    bool SetUnread(const ByteRanges &ranges)
    {
        options.unread = ranges.data();
        options.unreadCount = ranges.size();
        return volume_library_set_opening_options(&options);
    }

    const TemporaryFolder folder{};
    VolumeOpeningOptions options;
};

TEST_F(Options, TheyConcernTheNextOpeningsUntilTheyAreReset)
{
    options.recordsReads = 1;
    ASSERT_TRUE(volume_library_set_opening_options(&options));
    EXPECT_EQ(Open(), VolumeLibraryStatus::kPlacesNotKept);
    EXPECT_EQ(Open(), VolumeLibraryStatus::kPlacesNotKept);
    EXPECT_STREQ(volume_library_last_error(), "it is a folder");
    ASSERT_TRUE(volume_library_set_opening_options(nullptr));
    EXPECT_EQ(Open(), VolumeLibraryStatus::kSuccess);
}

TEST_F(Options, TheyDoNotConcernOtherThreads)
{
    options.recordsReads = 1;
    ASSERT_TRUE(volume_library_set_opening_options(&options));
    VolumeLibraryStatus status = VolumeLibraryStatus::kInternalError;
    std::thread([&] { status = Open(); }).join();
    EXPECT_EQ(status, VolumeLibraryStatus::kSuccess);
}

TEST_F(Options, RangesThatAreNotSortedAreRefusedAndChangeNothing)
{
    EXPECT_FALSE(SetUnread({{512, 512}, {0, 512}}));
    EXPECT_FALSE(SetUnread({{0, 513}, {512, 512}}));
    EXPECT_FALSE(SetUnread({{0, 0}}));
    EXPECT_FALSE(SetUnread({{512, UINT64_MAX}}));
    EXPECT_EQ(Open(), VolumeLibraryStatus::kSuccess);
    EXPECT_TRUE(SetUnread({{0, 512}, {512, 1}, {1024, UINT64_MAX - 1024}}));
    EXPECT_EQ(Open(), VolumeLibraryStatus::kPlacesNotKept);
}

TEST_F(Options, AnotherVersionOfTheStructureIsRefused)
{
    options.bytes += 8;
    EXPECT_FALSE(volume_library_set_opening_options(&options));
    options.bytes = 4;
    EXPECT_FALSE(volume_library_set_opening_options(&options));
}

TEST_F(Options, MoreRangesThanFitAreRefused)
{
    const ByteRange one = {0, 1};
    options.unread = &one;
    options.unreadCount = VolumeOpeningOptions::kMostRanges + 1;
    EXPECT_FALSE(volume_library_set_opening_options(&options));
    options.unread = nullptr;
    options.unreadCount = 1;
    EXPECT_FALSE(volume_library_set_opening_options(&options));
}

TEST_F(Options, NoVolumeHasAnAnswerForNullPointers)
{
    EXPECT_FALSE(volume_library_file_places(nullptr, nullptr, nullptr, nullptr));
    EXPECT_FALSE(volume_library_visit_tables_read(nullptr, nullptr, nullptr));
}

}  // namespace
}  // namespace vx
