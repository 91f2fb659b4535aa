#import "CoreTest.h"

namespace {

using Strings = std::vector<std::string>;

class FileExplorer : public CoreTest {};

std::string path(Z5FindData *entry, NSString *filter = nil)
{
    return Utf8([Z5FileExplorerWapper fullPath:entry withfilter:filter]);
}

std::string parent(Z5FindData *entry)
{
    return Utf8([Z5FileExplorerWapper parentPath:entry]);
}

}  // namespace

TEST_F(FileExplorer, ANullVolumeGivesNoWrapper)
{
    EXPECT_EQ([[Z5FileExplorerWapper alloc] initWithVolumeObject:nullptr], nil);
}

TEST_F(FileExplorer, AFailingRootListingMakesTheWholeWrapperNil)
{
    volume.atCall(VolumeOperation::FindFirstFile, 1, Fault::Fail);
    EXPECT_EQ(open(), nil);
    EXPECT_EQ(volume.count(VolumeOperation::FindClose), 0u);
}

TEST_F(FileExplorer, AnEmptyRootGivesAWrapperWithNoEntries)
{
    ASSERT_NE(open(), nil);
    ASSERT_NE([explorer rootDirectory], nil);
    EXPECT_EQ([[explorer rootDirectory] count], 0u);
}

TEST_F(FileExplorer, TheInitialiserListsTheRootOnce)
{
    root().file(u"a");
    root().folder(u"b").file(u"c");
    ASSERT_NE(open(), nil);
    EXPECT_EQ(Names([explorer rootDirectory]), (Strings{"a", "b"}));
    const auto listed = volume.calls(VolumeOperation::FindFirstFile);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].path, u"/*");
    EXPECT_EQ([explorer rootDirectory], [explorer rootDirectory]);
    EXPECT_EQ(volume.count(VolumeOperation::FindFirstFile), 1u);
}

TEST_F(FileExplorer, GetVolObjectReturnsTheVolume)
{
    ASSERT_NE(open(), nil);
    EXPECT_EQ([explorer getVolObject], static_cast<IVolume *>(&volume));
}

TEST_F(FileExplorer, AListingCallsFirstThenNextOnTheSameHandleAndRecordThenClose)
{
    ScriptedEntry &folder = root().folder(u"Reports");
    folder.file(u"1");
    folder.file(u"2");
    open();
    volume.forgetCalls();
    ASSERT_EQ([[explorer findFiles:at({"Reports"})] count], 2u);

    const auto calls = volume.calls();
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[0].operation, VolumeOperation::FindFirstFile);
    EXPECT_EQ(calls[0].path, u"/Reports/*");
    EXPECT_TRUE(calls[0].recordWasZero);
    EXPECT_EQ(calls[1].operation, VolumeOperation::FindNextFile);
    EXPECT_EQ(calls[2].operation, VolumeOperation::FindNextFile);
    EXPECT_EQ(calls[1].buffer, calls[0].buffer);
    EXPECT_EQ(calls[2].buffer, calls[0].buffer);
    EXPECT_EQ(calls[3].operation, VolumeOperation::FindClose);
    EXPECT_EQ(calls[1].handle, calls[3].handle);
    EXPECT_EQ(volume.openHandles(), 0u);
    EXPECT_EQ(volume.handlesClosedTwice(), 0u);
    EXPECT_EQ(volume.callsWithBadHandle(), 0u);
}

TEST_F(FileExplorer, TheRecordIsZeroedForTheFirstEntryAndNotAgain)
{
    root().file(u"1");
    root().file(u"2");
    open();
    const auto first = volume.calls(VolumeOperation::FindFirstFile);
    const auto next = volume.calls(VolumeOperation::FindNextFile);
    ASSERT_EQ(first.size(), 1u);
    ASSERT_EQ(next.size(), 2u);
    EXPECT_TRUE(first[0].recordWasZero);
    EXPECT_FALSE(next[0].recordWasZero);
    EXPECT_FALSE(next[1].recordWasZero);
}

TEST_F(FileExplorer, ListingAFolderTwiceCallsTheVolumeOnceAndReturnsTheSameArrayObject)
{
    root().folder(u"a").file(u"b");
    open();
    NSMutableArray *first = [explorer findFiles:at({"a"})];
    const size_t calls = volume.calls().size();
    EXPECT_EQ([explorer findFiles:at({"a"})], first);
    EXPECT_EQ([at({"a"}) subFileData], first);
    EXPECT_EQ(volume.calls().size(), calls);
}

TEST_F(FileExplorer, TheChildrenAreKeptBeforeTheListingIsClosed)
{
    root().folder(u"a").file(u"b");
    open();
    Z5FindData *folder = at({"a"});
    volume.atCall(VolumeOperation::FindClose, 2, Fault::Stall);
    std::thread lister([&] {
        @autoreleasepool {
            [explorer findFiles:folder];
        }
    });
    EXPECT_TRUE(volume.awaitStall());
    EXPECT_EQ(Names([folder subFileData]), (Strings{"b"}));
    volume.release();
    lister.join();
}

TEST_F(FileExplorer, FindFilesWithNilListsTheRootFromTheVolumeOnEveryCall)
{
    root().file(u"a");
    open();
    NSArray *before = [explorer rootDirectory];
    NSArray *first = [explorer findFiles:nil];
    NSArray *second = [explorer findFiles:nil];
    EXPECT_NE(first, second);
    EXPECT_NE(first, before);
    EXPECT_EQ(Names(second), (Strings{"a"}));
    EXPECT_EQ([explorer rootDirectory], before);
    EXPECT_EQ(volume.count(VolumeOperation::FindFirstFile), 3u);
}

TEST_F(FileExplorer, AFolderWhoseListingFailsIsListedAgainOnTheNextRequest)
{
    root().folder(u"a").file(u"b");
    volume.atCall(VolumeOperation::FindFirstFile, 2, Fault::Fail);
    open();
    EXPECT_EQ([explorer findFiles:at({"a"})], nil);
    EXPECT_EQ([at({"a"}) subFileData], nil);
    EXPECT_EQ(Names([explorer findFiles:at({"a"})]), (Strings{"b"}));
    EXPECT_EQ(volume.count(VolumeOperation::FindFirstFile), 3u);
    EXPECT_EQ(volume.count(VolumeOperation::FindClose), 2u);
}

TEST_F(FileExplorer, AnEmptyFolderGivesAnEmptyArrayAndTheVolumeIsNotAskedAgain)
{
    root().folder(u"empty");
    open();
    NSMutableArray *children = [explorer findFiles:at({"empty"})];
    ASSERT_NE(children, nil);
    EXPECT_EQ([children count], 0u);
    EXPECT_EQ([explorer findFiles:at({"empty"})], children);
    EXPECT_EQ(volume.count(VolumeOperation::FindFirstFile), 2u);
    EXPECT_EQ(volume.openHandles(), 0u);
}

TEST_F(FileExplorer, TheChildrenKeepTheVolumesOrderEvenWhenItIsNotAlphabetical)
{
    for (const char16_t *name : {u"zebra", u"Apple", u"10", u"9", u"apple", u".hidden"})
        root().file(name);
    open();
    EXPECT_EQ(Names([explorer rootDirectory]),
              (Strings{"zebra", "Apple", "10", "9", "apple", ".hidden"}));
}

TEST_F(FileExplorer, NothingIsSkippedNotEvenDotsHiddenAndSystemEntries)
{
    root().folder(u".");
    root().folder(u"..");
    root().file(u"same").attributes(0x26);
    root().file(u"same").attributes(0x26);
    open();
    EXPECT_EQ(Names([explorer rootDirectory]), (Strings{".", "..", "same", "same"}));
}

TEST_F(FileExplorer, AListingEndsWhereFindNextFileReturnsFalse)
{
    root().file(u"a");
    root().file(u"b");
    root().file(u"c");
    volume.atCall(VolumeOperation::FindNextFile, 2, Fault::Fail);
    open();
    EXPECT_EQ(Names([explorer rootDirectory]), (Strings{"a", "b"}));
    EXPECT_EQ(volume.openHandles(), 0u);
}

TEST_F(FileExplorer, EntriesOfTheRootHaveNoParentAndOthersHaveTheirFolder)
{
    root().folder(u"a").file(u"b");
    open();
    EXPECT_EQ([at({"a"}) parentNode], nil);
    EXPECT_EQ([at({"a", "b"}) parentNode], at({"a"}));
}

TEST_F(FileExplorer, APatternIsUtf16WhateverTheScript)
{
    root().folder(u"Дом \U0001F600").folder(u"家");
    open();
    ASSERT_NE([explorer findFiles:at({"Дом 😀", "家"})], nil);
    EXPECT_EQ(volume.calls(VolumeOperation::FindFirstFile).back().path, u"/Дом \U0001F600/家/*");
}

TEST_F(FileExplorer, APatternKeepsUnitsThatLookLikeByteOrderMarks)
{
    root().folder(u"\ufeffa").folder(u"\ufffeb").file(u"c");
    open();
    Z5FindData *inner = [[explorer findFiles:[[explorer rootDirectory] lastObject]] lastObject];
    EXPECT_EQ(Names([explorer findFiles:inner]), (Strings{"c"}));
    EXPECT_EQ(volume.calls(VolumeOperation::FindFirstFile).back().path, u"/\ufeffa/\ufffeb/*");
}

TEST_F(FileExplorer, FullPathOfARootEntryNamedDataGivesSlashDataAndWithTheFilterAStarBelow)
{
    root().folder(u"Data");
    open();
    EXPECT_EQ(path(at({"Data"})), "/Data");
    EXPECT_EQ(path(at({"Data"}), @"*"), "/Data/*");
}

TEST_F(FileExplorer, FullPathOfADeepEntryNamesEveryLevel)
{
    root().folder(u"Reports").folder(u"2019").file(u"summary.txt");
    open();
    EXPECT_EQ(path(at({"Reports", "2019", "summary.txt"})), "/Reports/2019/summary.txt");
    EXPECT_EQ(path(at({"Reports", "2019"}), @"*"), "/Reports/2019/*");
}

TEST_F(FileExplorer, FullPathOfANilEntryIsNil)
{
    EXPECT_EQ([Z5FileExplorerWapper fullPath:nil withfilter:nil], nil);
    EXPECT_EQ([Z5FileExplorerWapper fullPath:nil withfilter:@"*"], nil);
}

TEST_F(FileExplorer, AnEmptyFilterStillAppendsItsSlash)
{
    root().file(u"a");
    open();
    EXPECT_EQ(path(at({"a"}), @""), "/a/");
}

TEST_F(FileExplorer, NamesAreUsedInPathsAsTheyAre)
{
    root().folder(u"100% %@ \\x").file(u"a b?#.txt");
    open();
    EXPECT_EQ(path(at({"100% %@ \\x", "a b?#.txt"})), "/100% %@ \\x/a b?#.txt");
}

TEST_F(FileExplorer, ParentPathOfARootEntryGivesTheEmptyStringNotASlash)
{
    root().file(u"a");
    open();
    EXPECT_EQ(parent(at({"a"})), "");
}

TEST_F(FileExplorer, ParentPathOfADeepEntryIsItsFoldersPath)
{
    root().folder(u"A").folder(u"B").file(u"c");
    open();
    EXPECT_EQ(parent(at({"A", "B"})), "/A");
    EXPECT_EQ(parent(at({"A", "B", "c"})), "/A/B");
}

TEST_F(FileExplorer, ParentPathOfANilEntryIsEmpty)
{
    EXPECT_EQ(parent(nil), "");
}

TEST_F(FileExplorer, ABigFolderIsListedWhole)
{
    constexpr size_t kEntries = 5000;
    ScriptedEntry &folder = root().folder(u"big");
    for (size_t i = 0; i < kEntries; ++i)
        folder.file(u"f", i);
    open();
    volume.forgetCalls();
    NSArray *children = [explorer findFiles:at({"big"})];
    ASSERT_EQ([children count], kEntries);
    EXPECT_EQ([[children objectAtIndex:kEntries - 1] nFileSize], int64_t(kEntries - 1));
    EXPECT_EQ(volume.count(VolumeOperation::FindNextFile), kEntries);
}
