// The list of what can be opened.
#include "SourceRows.h"
#include "EnglishWording.h"

#include <gtest/gtest.h>

namespace {

using vx::SourceRowKind;

vx::AttachedVolume Volume(const std::string &path, const std::string &disk)
{
    vx::AttachedVolume volume;
    volume.path = path;
    volume.disk = disk;
    volume.bytes = uint64_t{1} << 30;
    volume.isReadable = true;
    return volume;
}

TEST(SourceRows, ADiskIsFollowedByItsVolumesAndImagesComeLast)
{
    vx::AttachedVolume disk = Volume("/dev/sdb", "");
    disk.diskName = "Kingston DataTraveler";
    vx::AttachedVolume volume = Volume("/dev/sdb1", "/dev/sdb");
    volume.label = "BACKUP";
    volume.isEncrypted = true;
    const auto rows = vx::SourceRows({disk, volume}, {{"/home/anna/disk.vhdx"}, {"/x.img", true}},
                                     EnglishWording());
    ASSERT_EQ(rows.size(), 6u);
    EXPECT_EQ(rows[0].kind, SourceRowKind::kHeading);
    EXPECT_EQ(rows[1].title, "Kingston DataTraveler");
    EXPECT_EQ(rows[1].detail, "sdb · 1.0 GiB");
    EXPECT_FALSE(rows[1].isEncrypted);
    EXPECT_EQ(rows[2].kind, SourceRowKind::kVolume);
    EXPECT_EQ(rows[2].title, "BACKUP");
    EXPECT_TRUE(rows[2].isEncrypted);
    EXPECT_EQ(rows[3].kind, SourceRowKind::kHeading);
    EXPECT_EQ(rows[4].title, "disk.vhdx");
    EXPECT_EQ(rows[4].detail, "/home/anna");
    EXPECT_EQ(rows[5].detail, "/");
    EXPECT_FALSE(rows[4].isMissing);
    EXPECT_TRUE(rows[5].isMissing);
}

TEST(SourceRows, RemovableDisksComeFirst)
{
    vx::AttachedVolume stick = Volume("/dev/sdb", "");
    vx::AttachedVolume part = Volume("/dev/sdb1", "/dev/sdb");
    stick.isRemovable = part.isRemovable = true;
    const auto rows = vx::SourceRows({Volume("/dev/sda", ""), stick, part}, {}, EnglishWording());
    ASSERT_EQ(rows.size(), 5u);
    EXPECT_EQ(rows[0].title, "Removable Disks");
    EXPECT_EQ(rows[1].path, "/dev/sdb");
    EXPECT_EQ(rows[2].path, "/dev/sdb1");
    EXPECT_EQ(rows[3].title, "Disks");
    EXPECT_EQ(rows[3].kind, SourceRowKind::kHeading);
    EXPECT_EQ(rows[4].path, "/dev/sda");
    EXPECT_EQ(vx::SourceRows({stick, part}, {}, EnglishWording()).size(), 3u);
}

TEST(SourceRows, TheSystemDiskAndWhatCannotBeReadAreSaidToBeThat)
{
    vx::AttachedVolume disk = Volume("/dev/sda", "");
    disk.isSystem = true;
    EXPECT_EQ(vx::SourceRows({disk}, {}, EnglishWording())[1].detail, "system · 1.0 GiB");
    disk.isReadable = false;
    EXPECT_EQ(vx::SourceRows({disk}, {}, EnglishWording())[1].detail, "system · 1.0 GiB");
    disk.isSystem = false;
    EXPECT_EQ(vx::SourceRows({disk}, {}, EnglishWording())[1].detail, "1.0 GiB · no access");
}

TEST(SourceRows, WhatHasNoNameIsNamedByItsPath)
{
    const auto rows = vx::SourceRows({Volume("/dev/sdb1", "/dev/sdb")}, {}, EnglishWording());
    EXPECT_EQ(rows[1].title, "/dev/sdb1");
    EXPECT_EQ(rows[1].detail, "1.0 GiB") << "the name is not said twice";
}

TEST(SourceRows, ANameIsOneLineWhateverIsInItAndThePathStays)
{
    const std::string path = "/a\n\xe2\x80\xae/d\xe9\n.img";
    const auto rows = vx::SourceRows({Volume(path, "/dev/sdb")}, {{path}}, EnglishWording());
    EXPECT_EQ(rows[1].path, path);
    EXPECT_EQ(rows[1].title, "/a\uFFFD\uFFFD/d\uFFFD\uFFFD.img");
    EXPECT_EQ(rows[1].detail, "1.0 GiB");
    EXPECT_EQ(rows[3].path, path);
    EXPECT_EQ(rows[3].title, "d\uFFFD\uFFFD.img");
    EXPECT_EQ(rows[3].detail, "/a\uFFFD\uFFFD");
}

TEST(SourceRows, WithoutADiskTheListSaysSo)
{
    const auto rows = vx::SourceRows({}, {}, EnglishWording());
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1].kind, SourceRowKind::kNote);
    EXPECT_TRUE(rows[1].path.empty());
}

TEST(SourceRows, ARowIsFoundByItsPathAndAHeadingNever)
{
    const auto rows = vx::SourceRows({Volume("/dev/sdb", "")}, {{"/x.img"}}, EnglishWording());
    EXPECT_EQ(vx::RowOfPath("/x.img", rows), 3u);
    EXPECT_EQ(vx::RowOfPath("/dev/sdc", rows), std::nullopt);
    EXPECT_EQ(vx::RowOfPath("", rows), std::nullopt);
}

}  // namespace
