// Each operation is called once for every allocation that it makes, with that one failing.
#include "FailingAllocator.h"
#include "VolumeLibrary.h"
#include "VolumeLibraryStatus.h"
#include "VolumeReader.h"

namespace vx {
namespace {

using OutOfMemoryTest = FolderVolumeTest;

// Calls attempt with the first, second, ... allocation failing, until none is left to fail.
// attempt returns whether it succeeded, which it must do exactly if no allocation failed.
template <typename Attempt>
void FailEachAllocation(Attempt attempt)
{
    long failures = 0;
    for (bool failed = true; failed; ++failures) {
        ASSERT_LT(failures, 1000);
        const FailAllocation failing(failures);
        const bool succeeded = attempt();
        failed = failing.Happened();
        EXPECT_EQ(succeeded, !failed);
    }
    EXPECT_GT(failures, 1) << "nothing was allocated";
}

TEST_F(OutOfMemoryTest, AListingThatCannotBeBegunGivesNull)
{
    folder.MakeLink("a-folder-with-a-long-name/link", "link");
    VolumeFindData record = {};
    FailEachAllocation([&] {
        return volume.FindClose(volume.FindFirstFile(u"/a-folder-with-a-long-name/*", &record));
    });
}

TEST_F(OutOfMemoryTest, AListingThatCannotGoOnEndsAndIsReportedAsIncomplete)
{
    for (const char *name :
         {"a-link-with-a-long-name-1", "a-link-with-a-long-name-2", "a-link-with-a-long-name-3"})
        folder.MakeLink(name, "missing");
    VolumeFindData record = {};
    const VolumeHandle search = volume.FindFirstFile(u"/*", &record);
    {
        const FailAllocation failing(0);
        EXPECT_FALSE(volume.FindNextFile(search, &record));
        EXPECT_TRUE(failing.Happened());
    }
    EXPECT_FALSE(volume.FindNextFile(search, &record));
    VolumeListingReport report;
    EXPECT_TRUE(volume_library_describe_listing(&volume, search, &report));
    EXPECT_FALSE(report.isWhole);
    EXPECT_EQ(report.reason, VolumeObstacle::kOutOfMemory);
    volume.FindClose(search);
}

TEST_F(OutOfMemoryTest, AFileThatCannotBeOpenedGivesNull)
{
    folder.WriteFile("a-folder-with-a-long-name/file", "x");
    FailEachAllocation([&] {
        return volume.CloseHandle(volume.OpenFile(u"/a-folder-with-a-long-name/file", 128, 3, 25));
    });
}

TEST_F(OutOfMemoryTest, ALinkThatCannotBeOpenedGivesNull)
{
    folder.WriteFile("a-folder-with-a-long-name/file", "x");
    folder.MakeLink("a-link-with-a-rather-long-name", "a-folder-with-a-long-name/file");
    FailEachAllocation([&] {
        return volume.CloseHandle(volume.OpenFile(u"/a-link-with-a-rather-long-name", 128, 3, 25));
    });
}

TEST_F(OutOfMemoryTest, TheEntryAnswersWithItsStatusAndANullVolume)
{
    FailEachAllocation([&] {
        IVolume *opened = &volume;
        const int32_t status = open_bitlocker_device(folder.Path().c_str(), "none", "", &opened);
        const bool failed = status == static_cast<int32_t>(VolumeLibraryStatus::kOutOfMemory);
        EXPECT_EQ(opened == nullptr, failed);
        return status == 0;
    });
}

TEST_F(OutOfMemoryTest, TheEntryAnswersToADefectOfItsOwnWithAStatusAndANullVolume)
{
    IVolume *opened = &volume;
    const FailAllocation failing(0, FailAllocation::As::kDefect);
    EXPECT_EQ(open_bitlocker_device(folder.Path().c_str(), "none", "", &opened),
              static_cast<int32_t>(VolumeLibraryStatus::kInternalError));
    EXPECT_EQ(opened, nullptr);
    EXPECT_TRUE(failing.Happened());
}

}  // namespace
}  // namespace vx
