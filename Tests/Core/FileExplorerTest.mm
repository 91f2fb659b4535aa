#import "CoreTest.h"

namespace {

using Strings = std::vector<std::string>;

class FileExplorer : public CoreTest {};

std::string Path(Z5FindData *entry, NSString *filter = nil)
{
    return Utf8([Z5FileExplorerWapper fullPath:entry withfilter:filter]);
}

std::string Parent(Z5FindData *entry)
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
    volume.AtCall(VolumeOperation::kFindFirstFile, 1, Fault::kFail);
    EXPECT_EQ(Open(), nil);
    EXPECT_EQ(volume.Count(VolumeOperation::kFindClose), 0u);
}

TEST_F(FileExplorer, AnEmptyRootGivesAWrapperWithNoEntries)
{
    ASSERT_NE(Open(), nil);
    ASSERT_NE([explorer rootDirectory], nil);
    EXPECT_EQ([[explorer rootDirectory] count], 0u);
}

TEST_F(FileExplorer, TheInitialiserListsTheRootOnce)
{
    Root().File(u"a");
    Root().Folder(u"b").File(u"c");
    ASSERT_NE(Open(), nil);
    EXPECT_EQ(Names([explorer rootDirectory]), (Strings{"a", "b"}));
    const auto listed = volume.Calls(VolumeOperation::kFindFirstFile);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].path, u"/*");
    EXPECT_EQ([explorer rootDirectory], [explorer rootDirectory]);
    EXPECT_EQ(volume.Count(VolumeOperation::kFindFirstFile), 1u);
}

TEST_F(FileExplorer, GetVolObjectReturnsTheVolume)
{
    ASSERT_NE(Open(), nil);
    EXPECT_EQ([explorer getVolObject], static_cast<IVolume *>(&volume));
}

TEST_F(FileExplorer, AListingCallsFirstThenNextOnTheSameHandleAndRecordThenClose)
{
    ScriptedEntry &folder = Root().Folder(u"Reports");
    folder.File(u"1");
    folder.File(u"2");
    Open();
    volume.ForgetCalls();
    ASSERT_EQ([[explorer findFiles:At({"Reports"})] count], 2u);

    const auto calls = volume.Calls();
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[0].operation, VolumeOperation::kFindFirstFile);
    EXPECT_EQ(calls[0].path, u"/Reports/*");
    EXPECT_TRUE(calls[0].recordWasZero);
    EXPECT_EQ(calls[1].operation, VolumeOperation::kFindNextFile);
    EXPECT_EQ(calls[2].operation, VolumeOperation::kFindNextFile);
    EXPECT_EQ(calls[1].buffer, calls[0].buffer);
    EXPECT_EQ(calls[2].buffer, calls[0].buffer);
    EXPECT_EQ(calls[3].operation, VolumeOperation::kFindClose);
    EXPECT_EQ(calls[1].handle, calls[3].handle);
    EXPECT_EQ(volume.OpenHandles(), 0u);
    EXPECT_EQ(volume.HandlesClosedTwice(), 0u);
    EXPECT_EQ(volume.CallsWithBadHandle(), 0u);
}

TEST_F(FileExplorer, TheRecordIsZeroedForTheFirstEntryAndNotAgain)
{
    Root().File(u"1");
    Root().File(u"2");
    Open();
    const auto first = volume.Calls(VolumeOperation::kFindFirstFile);
    const auto next = volume.Calls(VolumeOperation::kFindNextFile);
    ASSERT_EQ(first.size(), 1u);
    ASSERT_EQ(next.size(), 2u);
    EXPECT_TRUE(first[0].recordWasZero);
    EXPECT_FALSE(next[0].recordWasZero);
    EXPECT_FALSE(next[1].recordWasZero);
}

TEST_F(FileExplorer, ListingAFolderTwiceCallsTheVolumeOnceAndReturnsTheSameArrayObject)
{
    Root().Folder(u"a").File(u"b");
    Open();
    NSMutableArray *first = [explorer findFiles:At({"a"})];
    const size_t calls = volume.Calls().size();
    EXPECT_EQ([explorer findFiles:At({"a"})], first);
    EXPECT_EQ([At({"a"}) subFileData], first);
    EXPECT_EQ(volume.Calls().size(), calls);
}

TEST_F(FileExplorer, TheChildrenAreKeptBeforeTheListingIsClosed)
{
    Root().Folder(u"a").File(u"b");
    Open();
    Z5FindData *folder = At({"a"});
    volume.AtCall(VolumeOperation::kFindClose, 2, Fault::kStall);
    std::thread watcher([&] {
        @autoreleasepool {
            EXPECT_TRUE(volume.AwaitStall());
            EXPECT_EQ(Names([folder subFileData]), (Strings{"b"}));
            volume.Release();
        }
    });
    [explorer findFiles:folder];
    watcher.join();
}

TEST_F(FileExplorer, FindFilesWithNilListsTheRootFromTheVolumeOnEveryCall)
{
    Root().File(u"a");
    Open();
    NSArray *before = [explorer rootDirectory];
    NSArray *first = [explorer findFiles:nil];
    NSArray *second = [explorer findFiles:nil];
    EXPECT_NE(first, second);
    EXPECT_NE(first, before);
    EXPECT_EQ(Names(second), (Strings{"a"}));
    EXPECT_EQ([explorer rootDirectory], before);
    EXPECT_EQ(volume.Count(VolumeOperation::kFindFirstFile), 3u);
}

TEST_F(FileExplorer, AFolderWhoseListingFailsIsListedAgainOnTheNextRequest)
{
    Root().Folder(u"a").File(u"b");
    volume.AtCall(VolumeOperation::kFindFirstFile, 2, Fault::kFail);
    Open();
    EXPECT_EQ([explorer findFiles:At({"a"})], nil);
    EXPECT_EQ([At({"a"}) subFileData], nil);
    EXPECT_EQ(Names([explorer findFiles:At({"a"})]), (Strings{"b"}));
    EXPECT_EQ(volume.Count(VolumeOperation::kFindFirstFile), 3u);
    EXPECT_EQ(volume.Count(VolumeOperation::kFindClose), 2u);
}

TEST_F(FileExplorer, AnEmptyFolderGivesAnEmptyArrayAndTheVolumeIsNotAskedAgain)
{
    Root().Folder(u"empty");
    Open();
    NSMutableArray *children = [explorer findFiles:At({"empty"})];
    ASSERT_NE(children, nil);
    EXPECT_EQ([children count], 0u);
    EXPECT_EQ([explorer findFiles:At({"empty"})], children);
    EXPECT_EQ(volume.Count(VolumeOperation::kFindFirstFile), 2u);
    EXPECT_EQ(volume.OpenHandles(), 0u);
}

TEST_F(FileExplorer, TheChildrenKeepTheVolumesOrderEvenWhenItIsNotAlphabetical)
{
    for (const char16_t *name : {u"zebra", u"Apple", u"10", u"9", u"apple", u".hidden"})
        Root().File(name);
    Open();
    EXPECT_EQ(Names([explorer rootDirectory]),
              (Strings{"zebra", "Apple", "10", "9", "apple", ".hidden"}));
}

TEST_F(FileExplorer, NothingIsSkippedNotEvenDotsHiddenAndSystemEntries)
{
    Root().Folder(u".");
    Root().Folder(u"..");
    Root().File(u"same").Attributes(0x26);
    Root().File(u"same").Attributes(0x26);
    Open();
    EXPECT_EQ(Names([explorer rootDirectory]), (Strings{".", "..", "same", "same"}));
}

TEST_F(FileExplorer, AListingEndsWhereFindNextFileReturnsFalse)
{
    Root().File(u"a");
    Root().File(u"b");
    Root().File(u"c");
    volume.AtCall(VolumeOperation::kFindNextFile, 2, Fault::kFail);
    Open();
    EXPECT_EQ(Names([explorer rootDirectory]), (Strings{"a", "b"}));
    EXPECT_EQ(volume.OpenHandles(), 0u);
}

TEST_F(FileExplorer, EntriesOfTheRootHaveNoParentAndOthersHaveTheirFolder)
{
    Root().Folder(u"a").File(u"b");
    Open();
    EXPECT_EQ([At({"a"}) parentNode], nil);
    EXPECT_EQ([At({"a", "b"}) parentNode], At({"a"}));
}

TEST_F(FileExplorer, APatternIsUtf16WhateverTheScript)
{
    Root().Folder(u"Дом \U0001F600").Folder(u"家");
    Open();
    ASSERT_NE([explorer findFiles:At({"Дом 😀", "家"})], nil);
    EXPECT_EQ(volume.Calls(VolumeOperation::kFindFirstFile).back().path, u"/Дом \U0001F600/家/*");
}

TEST_F(FileExplorer, APatternKeepsUnitsThatLookLikeByteOrderMarks)
{
    Root().Folder(u"\ufeffa").Folder(u"\ufffeb").File(u"c");
    Open();
    Z5FindData *inner = [[explorer findFiles:[[explorer rootDirectory] lastObject]] lastObject];
    EXPECT_EQ(Names([explorer findFiles:inner]), (Strings{"c"}));
    EXPECT_EQ(volume.Calls(VolumeOperation::kFindFirstFile).back().path, u"/\ufeffa/\ufffeb/*");
}

TEST_F(FileExplorer, FullPathOfARootEntryNamedDataGivesSlashDataAndWithTheFilterAStarBelow)
{
    Root().Folder(u"Data");
    Open();
    EXPECT_EQ(Path(At({"Data"})), "/Data");
    EXPECT_EQ(Path(At({"Data"}), @"*"), "/Data/*");
}

TEST_F(FileExplorer, FullPathOfADeepEntryNamesEveryLevel)
{
    Root().Folder(u"Reports").Folder(u"2019").File(u"summary.txt");
    Open();
    EXPECT_EQ(Path(At({"Reports", "2019", "summary.txt"})), "/Reports/2019/summary.txt");
    EXPECT_EQ(Path(At({"Reports", "2019"}), @"*"), "/Reports/2019/*");
}

TEST_F(FileExplorer, FullPathOfANilEntryIsNil)
{
    EXPECT_EQ([Z5FileExplorerWapper fullPath:nil withfilter:nil], nil);
    EXPECT_EQ([Z5FileExplorerWapper fullPath:nil withfilter:@"*"], nil);
}

TEST_F(FileExplorer, AnEmptyFilterStillAppendsItsSlash)
{
    Root().File(u"a");
    Open();
    EXPECT_EQ(Path(At({"a"}), @""), "/a/");
}

TEST_F(FileExplorer, NamesAreUsedInPathsAsTheyAre)
{
    Root().Folder(u"100% %@ \\x").File(u"a b?#.txt");
    Open();
    EXPECT_EQ(Path(At({"100% %@ \\x", "a b?#.txt"})), "/100% %@ \\x/a b?#.txt");
}

TEST_F(FileExplorer, ParentPathOfARootEntryGivesTheEmptyStringNotASlash)
{
    Root().File(u"a");
    Open();
    EXPECT_EQ(Parent(At({"a"})), "");
}

TEST_F(FileExplorer, ParentPathOfADeepEntryIsItsFoldersPath)
{
    Root().Folder(u"A").Folder(u"B").File(u"c");
    Open();
    EXPECT_EQ(Parent(At({"A", "B"})), "/A");
    EXPECT_EQ(Parent(At({"A", "B", "c"})), "/A/B");
}

TEST_F(FileExplorer, ParentPathOfANilEntryIsEmpty)
{
    EXPECT_EQ(Parent(nil), "");
}

TEST_F(FileExplorer, ABigFolderIsListedWhole)
{
    constexpr size_t kEntries = 5000;
    ScriptedEntry &folder = Root().Folder(u"big");
    for (size_t i = 0; i < kEntries; ++i)
        folder.File(u"f", i);
    Open();
    volume.ForgetCalls();
    NSArray *children = [explorer findFiles:At({"big"})];
    ASSERT_EQ([children count], kEntries);
    EXPECT_EQ([[children objectAtIndex:kEntries - 1] nFileSize], int64_t(kEntries - 1));
    EXPECT_EQ(volume.Count(VolumeOperation::kFindNextFile), kEntries);
}
