// The list of what could not be read in full.
#include "DamageList.h"
#include "EnglishWording.h"
#include "VolumeReport.h"

#include <gtest/gtest.h>

namespace {

using vx::ChannelDamage;
using vx::ChannelDamageKind;

ChannelDamage FileDamage(const std::string &path, const vx::ByteRanges &ranges, uint64_t more = 0)
{
    return {ChannelDamageKind::kFileData, static_cast<uint32_t>(VolumeObstacle::kUnreadable), path,
            ranges, more};
}

TEST(DamageList, AFileThatWasReadTwiceIsOneRowWithTheUnionOfItsRanges)
{
    vx::DamageList list;
    list.Add(FileDamage("/a", {{0, 512}, {4096, 512}}));
    list.Add(FileDamage("/a", {{512, 512}, {4096, 1024}}));
    list.Add(FileDamage("/b", {{0, 512}}));
    ASSERT_EQ(list.Rows().size(), 2u);
    ASSERT_EQ(list.Rows()[0].ranges.size(), 3u - 1u);
    EXPECT_EQ(list.Rows()[0].ranges[0].length, 1024u);
    EXPECT_EQ(list.Rows()[0].ranges[1].length, 1024u);
    EXPECT_EQ(vx::DamageAmount(list.Rows()[0], EnglishWording()), "2.0 KiB");
}

TEST(DamageList, RangesInDisorderOrPastTheEndOfNumbersDoNoHarm)
{
    vx::DamageList list;
    list.Add(
        FileDamage("/a", {{4096, 512}, {0, 512}, {UINT64_MAX - 1, 512}, {100, 0}, {256, 512}}));
    ASSERT_EQ(list.Rows()[0].ranges.size(), 2u);
    EXPECT_EQ(list.Rows()[0].ranges[0].length, 768u);
}

TEST(DamageList, RangesBeyondTheMostAreCounted)
{
    vx::DamageList list;
    vx::ByteRanges ranges;
    for (uint64_t i = 0; i < vx::DamageList::kMostRanges + 5; ++i)
        ranges.push_back({i * 1024, 512});
    list.Add(FileDamage("/a", ranges));
    EXPECT_EQ(list.Rows()[0].ranges.size(), vx::DamageList::kMostRanges);
    EXPECT_EQ(list.Rows()[0].more, 5u);
    EXPECT_EQ(vx::DamageAmount(list.Rows()[0], EnglishWording()), "more than 2.0 MiB");
    EXPECT_NE(vx::DamageFile(list, "/dev/sdb1", EnglishWording()).find("further ranges: 5\n"),
              std::string::npos);
}

TEST(DamageList, RowsBeyondTheMostAreCountedAndSaid)
{
    vx::DamageList list;
    for (size_t i = 0; i < vx::DamageList::kMostRows + 3; ++i)
        list.Add(FileDamage("/" + std::to_string(i), {{0, 1}}));
    EXPECT_EQ(list.Rows().size(), vx::DamageList::kMostRows);
    EXPECT_EQ(vx::DamageRemarks(list, EnglishWording()),
              std::vector<std::string>{"Reports that are not in this list: 3"});
}

TEST(DamageList, LostReportsAreDamageEvenIfNobodyCountedThem)
{
    vx::DamageList list;
    EXPECT_TRUE(list.IsEmpty());
    list.AddLost(0);
    EXPECT_FALSE(list.IsEmpty());
    EXPECT_EQ(vx::DamageRemarks(list, EnglishWording()).size(), 1u);
    list.AddLost(7);
    EXPECT_EQ(vx::DamageRemarks(list, EnglishWording()).front(), "Reports that were lost: 7");
}

TEST(DamageList, TheSavedListHasWarningsRowsAndRanges)
{
    vx::DamageList list;
    list.AddWarnings({"a copy of the metadata is damaged"});
    list.AddWarnings({"a copy of the metadata is damaged"});
    list.Add(FileDamage("/Users/a.pdf", {{4096, 512}}));
    list.Add({ChannelDamageKind::kFolder,
              static_cast<uint32_t>(VolumeObstacle::kDamaged),
              "/Users",
              {},
              3});
    list.Add({ChannelDamageKind::kDiskGone,
              static_cast<uint32_t>(VolumeObstacle::kDeviceGone),
              "",
              {},
              0});
    EXPECT_EQ(vx::DamageFile(list, "/dev/sdb1", EnglishWording()),
              "Not read in full: /dev/sdb1\n"
              "\n"
              "Noticed when the volume was opened:\n"
              "a copy of the metadata is damaged\n"
              "/Users/a.pdf\t512 bytes\tMissing bytes are zeros: the disk could not read it\n"
              "\t512 bytes from byte 4096 on\n"
              "/Users\tentries: 3\tEntries are missing: its records are damaged\n"
              "-\t\tThe disk went away\n");
}

TEST(DamageList, ANameWithALineEndStaysInItsLine)
{
    vx::DamageList list;
    list.Add(FileDamage("/a\n\tb\\", {{0, 1}}));
    EXPECT_NE(vx::DamageFile(list, "x", EnglishWording()).find("/a\\n\\tb\\\\\t"),
              std::string::npos);
}

TEST(DamageList, AnUnknownKindOrReasonIsStillARow)
{
    vx::DamageList list;
    list.Add({static_cast<ChannelDamageKind>(99), 99, "/a", {}, 0});
    EXPECT_EQ(vx::DamageReason(list.Rows()[0], EnglishWording()), "Damaged");
}

}  // namespace
