// A damaged or malicious volume: nothing is written outside the destination, nothing is read past
// the record, and nothing crashes or runs indefinitely.
#import "ExportTest.h"

#include <sys/resource.h>

#include <limits>

namespace {

using Strings = std::vector<std::string>;

// In bytes: 32 for each folder of the deepest nest here.
constexpr rlim_t kSmallStack = 512 << 10;
constexpr uint64_t kMost = std::numeric_limits<int64_t>::max();

// While it lives, the main thread's stack does not grow beyond that. What it has used before stays.
class SmallStack {
public:
    SmallStack()
    {
        getrlimit(RLIMIT_STACK, &_before);
        rlimit limit = _before;
        limit.rlim_cur = kSmallStack;
        setrlimit(RLIMIT_STACK, &limit);
    }
    ~SmallStack() { setrlimit(RLIMIT_STACK, &_before); }
    SmallStack(const SmallStack &) = delete;
    SmallStack &operator=(const SmallStack &) = delete;

private:
    rlimit _before = {};
};

// The destination is the folder "to", so that what climbs out of it lands in the test's folder.
class UntrustedVolume : public ExportTest {
protected:
    UntrustedVolume() { folder.MakeFolder("to"); }

    // So that a nest need not be deep to be deeper than the stack.
    void PlanOnSmallStack()
    {
        const SmallStack stack;
        Plan();
    }
    bool RunInto(const std::string &name)
    {
        if (engine == nil)
            Plan();
        [engine copyTo:Text(folder.At(name)) withDelegate:delegate];
        return Finish();
    }
    // Everything below the test's folder, sorted, without "to" itself.
    Strings Everything() const
    {
        NSArray *found = [[NSFileManager defaultManager] subpathsAtPath:Text(folder.Path())];
        Strings paths;
        for (NSString *path in [found sortedArrayUsingSelector:@selector(compare:)]) {
            if (![path isEqual:@"to"])
                paths.push_back(Utf8(path));
        }
        return paths;
    }
};

}  // namespace

TEST_F(UntrustedVolume, AFileNamedDotDotIsSkipped)
{
    Root().File(u"..", 1);
    Root().Folder(u"f").File(u"..", 1);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Everything(), (Strings{}));
    EXPECT_TRUE([delegate paths].empty());
}

TEST_F(UntrustedVolume, AFileWhoseNameHoldsSlashesAndDotDotIsSkipped)
{
    Root().File(u"a/../../x", 1);
    Root().File(u"../x", 1);
    Root().File(u"f/..", 1);
    Root().File(u"/../x", 1);
    Root().File(u"/etc/../../x", 1);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Everything(), (Strings{}));
    EXPECT_TRUE([delegate paths].empty());
    EXPECT_EQ(volume.Count(VolumeOperation::kOpenFile), 0u);
}

TEST_F(UntrustedVolume, AFileWhoseNameHoldsBackslashesAndDotDotIsSkipped)
{
    Root().File(u"a\\..\\..\\x", 1);
    Root().File(u"..\\x", 1);
    Root().File(u"a\\..", 1);
    Root().File(u"a/..\\../x", 1);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Everything(), (Strings{}));
    EXPECT_TRUE([delegate paths].empty());
    EXPECT_EQ(volume.Count(VolumeOperation::kOpenFile), 0u);
}

TEST_F(UntrustedVolume, AFileBelowAFolderWhoseNameClimbsIsSkippedAndItsFolderIsNotMade)
{
    Root().Folder(u"a\\..\\..\\out").File(u"x", 1);
    Root().Folder(u"../out").File(u"x", 1);
    Root().Folder(u"b/../../out").Folder(u"c").File(u"x", 1);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Everything(), (Strings{}));
    EXPECT_TRUE([delegate paths].empty());
}

TEST_F(UntrustedVolume, TheOtherFilesAreExportedAllTheSame)
{
    Root().File(u"..\\x", 1);
    Root().File(u"kept", 1);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Everything(), (Strings{"to/kept"}));
}

TEST_F(UntrustedVolume, NamesThatOnlyLookLikeDotDotAreExported)
{
    Root().File(u"..a", 1);
    Root().File(u"a..", 1);
    Root().File(u"...", 1);
    Root().Folder(u"a..b").File(u". .", 1);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Everything(), (Strings{"to/...", "to/..a", "to/a..", "to/a..b", "to/a..b/. ."}));
}

TEST_F(UntrustedVolume, ANameThatIsAnAbsolutePathStaysBelowTheDestination)
{
    Root().File(u"/x", 1);
    Root().File(u"\\y", 1);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Everything(), (Strings{"to/x", "to/y"}));
}

TEST_F(UntrustedVolume, FilesNamedDotOrNothingWriteNothing)
{
    Root().File(u".", 1);
    Root().File(u"", 1).Attributes(0x20);
    Root().Folder(u"f").File(u".", 1);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Everything(), (Strings{"to/f"}));
    EXPECT_TRUE([delegate percents].empty());
}

TEST_F(UntrustedVolume, PlanningDoesNotDescendIntoFoldersNamedDotOrDotDot)
{
    Root().Folder(u".").File(u"a", 1);
    Root().Folder(u"..").File(u"b", 1);
    Root().Folder(u"f").Folder(u"..").File(u"c", 1);
    Root().File(u"kept", 1);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ([delegate paths], (Strings{"/kept"}));
    for (const vx::VolumeCall &call : volume.Calls(VolumeOperation::kFindFirstFile))
        EXPECT_TRUE(call.path == u"/*" || call.path == u"/f/*");
}

TEST_F(UntrustedVolume, PlanningDoesNotDescendIntoAFolderWithoutAName)
{
    Root().Folder(u"").File(u"a", 1);
    Root().File(u"kept", 1);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ([delegate paths], (Strings{"/kept"}));
}

TEST_F(UntrustedVolume, ARecordWithoutATerminatingZeroYieldsAtMostIts540Units)
{
    Root().File(u"abc").Unterminated();
    Root().File(u"after");
    ASSERT_NE(Open(), nil);
    const auto names = Names([explorer rootDirectory]);
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names[0], "abc" + std::string(537, 'x'));
    EXPECT_EQ(names[1], "after");
}

TEST_F(UntrustedVolume, ARecordOfGarbageIsAnEntryOrLeftOut)
{
    Root().File(u"a");
    Root().File(u"b");
    volume.AtCall(VolumeOperation::kFindFirstFile, 1, Fault::kGarbage);
    ASSERT_NE(Open(), nil);
    NSArray *entries = [explorer rootDirectory];
    ASSERT_GE([entries count], 1u);
    EXPECT_LE([entries count], 2u);
    EXPECT_EQ(Names(entries).back(), "b" + std::string());
}

TEST_F(UntrustedVolume, ANameFromBeforeDoesNotShowAfterAShorterOne)
{
    Root().File(u"a long name");
    Root().File(u"b");
    Open();
    EXPECT_EQ(Names([explorer rootDirectory]), (Strings{"a long name", "b"}));
}

TEST_F(UntrustedVolume, AnInvalidUtf16NameGivesAnEntryThatCanBeShownOrIsLeftOut)
{
    Root().File(std::u16string{u'a', 0xd800, u'b'}, 1);
    Root().File(std::u16string{0xdc00}, 1);
    Root().File(std::u16string{0xd800, 0xd800, 0xdc00}, 1);
    Root().File(std::u16string{0xfffe, 0xffff, 0xfeff}, 1);
    Root().File(u"kept.txt", 1);
    ASSERT_NE(Open(), nil);
    for (Z5FindData *entry in [explorer rootDirectory]) {
        (void)[[entry strFileName] length];
        EXPECT_NE([Z5FindData fileExtention:[entry strFileName]], nil);
        (void)[Z5FileExplorerWapper fullPath:entry withfilter:@"*"];
        (void)[Z5FileExplorerWapper parentPath:entry];
        EXPECT_NE([entry strFileSize], nil);
        EXPECT_NE([entry strModifiedDateTime], nil);
    }
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(SizeOf("to/kept.txt"), 1);
}

TEST_F(UntrustedVolume, AFolderWithAnInvalidNameIsNotTakenForTheRoot)
{
    Root().Folder(std::u16string{0xd800}).File(u"a", 1);
    Root().File(u"kept", 1);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_LE([delegate paths].size(), 2u);
    EXPECT_EQ(SizeOf("to/kept"), 1);
    size_t rootListings = 0;
    for (const vx::VolumeCall &call : volume.Calls(VolumeOperation::kFindFirstFile))
        rootListings += call.path == u"/*";
    EXPECT_EQ(rootListings, 1u);
}

TEST_F(UntrustedVolume, AFileBelowAFolderWithAnInvalidNameCrashesNothing)
{
    Root().Folder(u"f").File(std::u16string{u'x', 0xdfff}, 1);
    Root().Folder(u"g").File(u"kept", 1);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(SizeOf("to/g/kept"), 1);
}

TEST_F(UntrustedVolume, AProgressWhoseTotalIs0IsADefinedNumber)
{
    Root().File(u"a", 10).CatalogueSize(0);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ([delegate percents], (std::vector<int>{std::numeric_limits<int>::max()}));
    EXPECT_EQ(SizeOf("to/a"), 10);
}

TEST_F(UntrustedVolume, CatalogueSizesThatOverflowGiveADefinedTotal)
{
    Root().File(u"a", 10).CatalogueSize(kMost);
    Root().File(u"b", 10).CatalogueSize(kMost);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ([delegate totals].front(), double(kMost) / 1024 / 1024);
    EXPECT_EQ([delegate percents], (std::vector<int>{0, 0}));
}

TEST_F(UntrustedVolume, ANegativeTotalGivesADefinedNumber)
{
    Root().File(u"a", 10).CatalogueSize(~uint64_t(0));
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ([delegate percents], (std::vector<int>{-1000}));
}

TEST_F(UntrustedVolume, ANegativeFileSizeCopiesNothing)
{
    Root().File(u"a", 10).QueriedSize(~uint64_t(0));
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(SizeOf("to/a"), 0);
    EXPECT_EQ(volume.Count(VolumeOperation::kReadFile), 0u);
}

TEST_F(UntrustedVolume, AFileThatClaimsAHugeSizeCanBeCancelled)
{
    Root().File(u"a", 10).QueriedSize(kMost);
    volume.AtCall(VolumeOperation::kReadFile, 3, Fault::kStall);
    Plan();
    [engine copyTo:Text(folder.At("to")) withDelegate:delegate];
    ASSERT_TRUE(volume.AwaitStall());
    [delegate cancel];
    volume.Release();
    ASSERT_TRUE(Finish());
    EXPECT_EQ(SizeOf("to/a"), 3 * 4194304);
}

TEST_F(UntrustedVolume, PositionsAndCountsOfGarbageCrashNothing)
{
    Root().File(u"a", 10);
    volume.FromCall(VolumeOperation::kSetFilePosition, 1, Fault::kGarbage);
    volume.FromCall(VolumeOperation::kReadFile, 1, Fault::kGarbage);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Exported("to/a"), std::string(10, '\xa5'));
}

TEST_F(UntrustedVolume, AnyLastWriteTimeGivesADateText)
{
    for (const uint64_t time : {uint64_t(0), uint64_t(1), ~uint64_t(0), uint64_t(1) << 63,
                                uint64_t(116444735999999999), uint64_t(116444736000000000)})
        Root().File(u"a").Modified(time);
    ASSERT_NE(Open(), nil);
    EXPECT_EQ([[explorer rootDirectory] count], 6u);
    for (Z5FindData *entry in [explorer rootDirectory])
        EXPECT_NE([entry strModifiedDateTime], nil);
}

TEST_F(UntrustedVolume, ANestOfFoldersThatNeverEndsIsPlannedToAnEnd)
{
    Root().Folder(std::u16string(100, u'n')).Endless();
    Root().File(u"kept", 1);
    volume.KeepNoCalls();
    ASSERT_NE(Plan(), nil);
    EXPECT_LT(volume.Count(VolumeOperation::kFindFirstFile), 400u);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Everything(), (Strings{"to/kept"}));
}

TEST_F(UntrustedVolume, ANestOfShortNamesThatNeverEndsIsPlannedToAnEndOnASmallStack)
{
    Root().Folder(u"a short name").Endless();
    Root().File(u"kept", 1);
    volume.KeepNoCalls();
    PlanOnSmallStack();
    ASSERT_NE(engine, nil);
    EXPECT_GT(volume.Count(VolumeOperation::kFindFirstFile), 2500u);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Everything(), (Strings{"to/kept"}));
}

TEST_F(UntrustedVolume, ANestDeeperThanTheStackCrashesNothing)
{
    ScriptedEntry *nest = &Root();
    for (int depth = 0; depth < 4000; ++depth) {
        nest = &nest->Folder(u"n");
        if (depth % 1000 == 999)
            nest->File(u"file", 1);
    }
    Root().File(u"kept", 1);
    volume.KeepNoCalls();
    PlanOnSmallStack();
    ASSERT_NE(engine, nil);
    int64_t bytes = 0;
    EXPECT_EQ([[engine getAllFiles:[explorer rootDirectory] withSize:&bytes] count], 5u);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(SizeOf("to/kept"), 1);
    EXPECT_EQ(volume.OpenHandles(), 0u);
}

TEST_F(UntrustedVolume, APathTooLongForTheFileSystemSkipsTheFile)
{
    ScriptedEntry *nest = &Root();
    for (int depth = 0; depth < 40; ++depth)
        nest = &nest->Folder(std::u16string(200, u'n'));
    nest->File(u"lost", 1);
    Root().File(u"kept", 1);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ([delegate paths], (Strings{"/kept"}));
}

TEST_F(UntrustedVolume, ANameTooLongForTheFileSystemStopsNothing)
{
    Root().File(std::u16string(539, u'n'), 1);
    Root().File(u"kept", 1);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Everything(), (Strings{"to/kept"}));
}
