// exFAT, in images that are filled by hand.
#include "ExfatVolumeTest.h"
#include "Listed.h"

namespace vx {
namespace {

class ExfatTest : public ExfatVolumeTest {};

TEST_F(ExfatTest, FilesInARowAndInPiecesReadWhole)
{
    const std::string contents = NoiseBytes(2 * clusterBytes + 5, 1);
    Add(root, {u"in a row, with a name of several parts: Отчёт", 0x20, true, 100, contents.size(),
               contents.size()});
    Write(100, contents);
    Add(root, {u"in pieces", 0x20, false, 200, contents.size(), contents.size()});
    Write(200, contents.substr(0, clusterBytes));
    Write(300, contents.substr(clusterBytes, clusterBytes));
    Write(250, contents.substr(2 * clusterBytes));
    image->Chain({200, 300, 250});
    ExpectSameTree(ReadTree(Open()), {{"in a row, with a name of several parts: Отчёт", contents},
                                      {"in pieces", contents}});
}

TEST_F(ExfatTest, FoldersInFoldersAreListed)
{
    Add(root, {u"outer", 0x10, true, 100, clusterBytes, clusterBytes});
    Add(100, {u"inner", 0x10, true, 101, clusterBytes, clusterBytes});
    Add(101, {u"empty", 0x20, true, 0, 0, 0});
    ExpectSameTree(ReadTree(Open()), {{"outer/inner/empty", ""}});
}

TEST_F(ExfatTest, WhatWasNeverWrittenReadsAsZeros)
{
    Write(100, "written, and what was there before");
    Add(root, {u"file", 0x20, true, 100, 20, 7});
    EXPECT_EQ(ReadWholeFile(Open(), u"/file"), "written" + std::string(13, '\0'));
}

TEST_F(ExfatTest, TimesAndAttributesAreThoseThatAreStored)
{
    Add(root, {u"file", 0x23, true, 0, 0, 0});
    const VolumeFindData entry = EntryNamed(Open(), u"/*", u"file");
    EXPECT_EQ(entry.attributes, 0x23u);
    EXPECT_EQ(entry.lastWriteTime, (1614834368u + 11644473600u) * 10000000ull);
}

TEST_F(ExfatTest, DeletedSetsAreNotShown)
{
    Add(root, {u"deleted", 0x20, true, 0, 0, 0});
    Add(root, {u"kept", 0x20, true, 0, 0, 0});
    const size_t kept = image->Text().find(std::string("k\0e\0p\0t\0", 8)) - 66;
    for (size_t at : {kept - 96, kept - 64, kept - 32})
        image->bytes[at] &= 0x7F;
    const auto listed = ListAndReport(Open(), u"/*");
    ASSERT_TRUE(listed);
    EXPECT_EQ(listed->names, std::vector<std::u16string>{u"kept"});
    EXPECT_TRUE(listed->report.isWhole);
}

TEST_F(ExfatTest, AFolderThatIsItsOwnParentIsRefused)
{
    Add(root, {u"A", 0x10, true, 100, clusterBytes, clusterBytes});
    Add(100, {u"B", 0x10, true, 100, clusterBytes, clusterBytes});
    IVolume &opened = Open();
    EXPECT_TRUE(ListFolder(opened, u"/A/*"));
    EXPECT_FALSE(ListFolder(opened, u"/A/B/*"));
}

// Found by fuzzing; the sanitizer of undefined behaviour watches.
TEST_F(ExfatTest, ASetWhoseCheckIsAsHighAsItCanBeOnTheWayIsShown)
{
    const std::u16string name = u"1100, a name that makes the check as high as it can be";
    Add(root, {name, 0x20, true, 0, 0, 0});
    EXPECT_EQ(SortedNames(Open(), u"/*"), std::vector<std::u16string>{name});
}

TEST_F(ExfatTest, ASectorOfAFileFailsTheReadsOfIt)
{
    const std::string contents = NoiseBytes(3 * clusterBytes, 1);
    Add(root, {u"bad", 0x20, true, 100, contents.size(), contents.size()});
    Write(100, contents);
    Add(root, {u"good", 0x20, true, 200, 5, 5});
    Write(200, "whole");
    const size_t bad = image->PlaceOf(101);
    IVolume &opened = Open(bad, bad + 512);
    const VolumeHandle file = OpenForReading(opened, u"/bad");
    std::string part(clusterBytes, '\0');
    const auto count = static_cast<uint32_t>(clusterBytes);
    uint32_t done = 0;
    ASSERT_TRUE(opened.ReadFile(file, part.data(), count, &done));
    EXPECT_TRUE(part == contents.substr(0, clusterBytes));
    EXPECT_FALSE(opened.ReadFile(file, part.data(), count, &done));
    uint32_t low = 2 * count;
    uint32_t high = 0;
    opened.SetFilePosition(file, &low, &high, 0);
    ASSERT_TRUE(opened.ReadFile(file, part.data(), count, &done));
    EXPECT_TRUE(part == contents.substr(2 * clusterBytes));
    opened.CloseHandle(file);
    EXPECT_EQ(ReadWholeFile(opened, u"/good"), "whole");
}

TEST_F(ExfatTest, AFolderOfWhichNothingCanBeReadIsNotListed)
{
    Add(root, {u"bad", 0x10, true, 100, clusterBytes, clusterBytes});
    Add(100, {u"in it", 0x20, true, 0, 0, 0});
    Add(root, {u"fine", 0x10, true, 101, clusterBytes, clusterBytes});
    Add(101, {u"in it", 0x20, true, 200, 5, 5});
    Write(200, "whole");
    IVolume &opened = Open(image->PlaceOf(100), image->PlaceOf(101));
    EXPECT_FALSE(ListFolder(opened, u"/bad/*"));
    EXPECT_FALSE(Opens(opened, u"/bad/in it"));
    EXPECT_EQ(ReadWholeFile(opened, u"/fine/in it"), "whole");
}

TEST_F(ExfatTest, ANameMayBeOneBackslash)
{
    Add(root, {u"\\", 0x20, true, 200, 5, 5});
    Write(200, "whole");
    Add(root, {u"a\\b", 0x20, true, 0, 0, 0});
    EXPECT_EQ(SortedNames(Open(), u"/*"), (std::vector<std::u16string>{u"\\", u"a\\b"}));
    EXPECT_EQ(ReadWholeFile(*volume, u"/\\"), "whole");
}

TEST_F(ExfatTest, NamesThatDifferInCaseOnlyAreBothReached)
{
    Add(root, {u"name", 0x20, true, 200, 5, 5});
    Add(root, {u"NAME", 0x20, true, 201, 5, 5});
    Write(200, "small");
    Write(201, "LARGE");
    EXPECT_EQ(ReadWholeFile(Open(), u"/name"), "small");
    EXPECT_EQ(ReadWholeFile(*volume, u"/NAME"), "LARGE");
}

}  // namespace
}  // namespace vx
