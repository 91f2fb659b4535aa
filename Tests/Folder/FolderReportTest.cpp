// What a folder volume says of its entries: why one cannot be read, and where a link leads.
#include "OrdinaryUser.h"
#include "VolumeReader.h"
#include "VolumeReport.h"

#include <sys/stat.h>

namespace vx {
namespace {

class FolderReport : public FolderVolumeTest {
protected:
    VolumeEntryReport Of(const std::u16string &path) const
    {
        VolumeEntryReport report;
        EXPECT_TRUE(owned->DescribeEntry(path.c_str(), &report));
        return report;
    }

    VolumeObstacle ObstacleOf(const std::u16string &path) const { return Of(path).obstacle; }

    void ExpectLink(const std::u16string &path, const std::u16string &target,
                    VolumeObstacle obstacle) const
    {
        const VolumeEntryReport report = Of(path);
        EXPECT_EQ(report.obstacle, obstacle);
        EXPECT_EQ(report.reparseTag, kReparseTagSymlink);
        EXPECT_EQ(std::u16string(report.target), target);
    }

    const TemporaryFolder outside;
};

TEST_F(FolderReport, NothingStandsInTheWayOfAFileOrAFolder)
{
    folder.WriteFile("sub/file", "contents");
    for (const char16_t *path : {u"/sub", u"/sub/file"}) {
        EXPECT_EQ(ObstacleOf(path), VolumeObstacle::kNone);
        EXPECT_EQ(Of(path).reparseTag, 0u);
        EXPECT_EQ(Of(path).target[0], 0);
    }
}

TEST_F(FolderReport, WhatIsNotShownIsNotThere)
{
    ASSERT_EQ(mkfifo(folder.At("fifo").c_str(), 0600), 0);
    folder.WriteFile("file", "contents");
    for (const char16_t *path : {u"/missing", u"/missing/file", u"/file/in it", u"/fifo"})
        EXPECT_EQ(ObstacleOf(path), VolumeObstacle::kNotThere);
}

TEST_F(FolderReport, ALinkToAFileOfTheVolumeIsNoObstacle)
{
    folder.WriteFile("sub/file", "contents");
    folder.MakeLink("link", "sub/file");
    ExpectLink(u"/link", u"sub/file", VolumeObstacle::kNone);
}

TEST_F(FolderReport, AnyOtherLinkIsOneAndSaysWhereItLeads)
{
    folder.MakeFolder("sub");
    folder.MakeLink("to folder", "sub");
    folder.MakeLink("nowhere", "missing \xC3\xA9");
    folder.MakeLink("outside", outside.WriteFile("file", "secret"));
    ExpectLink(u"/to folder", u"sub", VolumeObstacle::kLink);
    ExpectLink(u"/nowhere", u"missing \xE9", VolumeObstacle::kLink);
    EXPECT_EQ(ObstacleOf(u"/outside"), VolumeObstacle::kLink);
}

TEST_F(FolderReport, TheRecordOfALinkCarriesItsTag)
{
    folder.WriteFile("file", "contents");
    folder.MakeLink("link", "file");
    EXPECT_EQ(EntryNamed(volume, u"/*", u"link").reserved, kReparseTagSymlink);
    EXPECT_EQ(EntryNamed(volume, u"/*", u"file").reserved, 0u);
}

VolumeListingReport ReportOfListing(OwnedVolume &volume, const char16_t *pattern)
{
    VolumeFindData record = {};
    const VolumeHandle search = volume.FindFirstFile(pattern, &record);
    while (volume.FindNextFile(search, &record)) {
    }
    VolumeListingReport report;
    EXPECT_TRUE(volume.DescribeListing(search, &report));
    volume.FindClose(search);
    return report;
}

TEST_F(FolderReport, AListingOfAFolderIsWhole)
{
    folder.WriteFile("file", "contents");
    EXPECT_TRUE(ReportOfListing(*owned, u"/*").isWhole);
}

// In a process of its own, since the user changes for all threads.
[[noreturn]] void ExitWithReportsAsOrdinaryUser(OwnedVolume &volume)
{
    const OrdinaryUser ordinary;
    const auto isForbidden = [&](const char16_t *path) {
        VolumeEntryReport report;
        return volume.DescribeEntry(path, &report) &&
               report.obstacle == VolumeObstacle::kNoPermission;
    };
    const VolumeListingReport listing = ReportOfListing(volume, u"/unsearchable/*");
    const bool good = isForbidden(u"/secret") && isForbidden(u"/closed") &&
                      isForbidden(u"/closed/file") && !listing.isWhole &&
                      listing.reason == VolumeObstacle::kNoPermission && !volume.IsGone();
    _exit(good ? 0 : 1);
}

TEST_F(FolderReport, WhatTheUserMayNotReadSaysSo)
{
    ASSERT_EQ(chmod(folder.Path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(folder.WriteFile("secret", "contents").c_str(), 0), 0);
    folder.WriteFile("closed/file", "contents");
    ASSERT_EQ(chmod(folder.At("closed").c_str(), 0), 0);
    folder.WriteFile("unsearchable/file", "contents");
    ASSERT_EQ(chmod(folder.At("unsearchable").c_str(), 0744), 0);
    EXPECT_EXIT(ExitWithReportsAsOrdinaryUser(*owned), testing::ExitedWithCode(0), "");
    ASSERT_EQ(chmod(folder.At("closed").c_str(), 0755), 0);
    ASSERT_EQ(chmod(folder.At("unsearchable").c_str(), 0755), 0);
}

}  // namespace
}  // namespace vx
