// A volume that is broken or means harm: nothing is written outside the destination, nothing is
// read past the record, and nothing crashes or runs for ever.
#import "ExportTest.h"

#include <sys/resource.h>

#include <functional>
#include <limits>

// Plans an export on a thread of its own.
@interface Planner : NSObject {
@public
    std::function<void()> _plan;
}
- (void)run;
@end

@implementation Planner
- (void)run
{
    @autoreleasepool {
        _plan();
    }
}
@end

namespace {

using Strings = std::vector<std::string>;

// In bytes: fewer than 70 for each folder of the deepest nest here.
constexpr size_t kSmallStack = 256 << 10;
constexpr uint64_t kMost = std::numeric_limits<int64_t>::max();

// The destination is the folder "to", so that what climbs out of it lands in the test's folder.
class UntrustedVolume : public ExportTest {
protected:
    UntrustedVolume() { folder.MakeFolder("to"); }

    // So that a nest need not be deep to be deeper than the stack.
    void planOnSmallStack()
    {
        Planner *planner = [[[Planner alloc] init] autorelease];
        planner->_plan = [this] { plan(); };
        NSThread *thread = [[[NSThread alloc] initWithTarget:planner
                                                    selector:@selector(run)
                                                      object:nil] autorelease];
        [thread setStackSize:kSmallStack];
        [thread start];
        ASSERT_TRUE(finish());
    }
    bool runInto(const std::string &name)
    {
        if (engine == nil)
            plan();
        [engine copyTo:Text(folder.At(name)) withDelegate:delegate];
        return finish();
    }
    // Everything below the test's folder, sorted, without "to" itself.
    Strings everything() const
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
    root().file(u"..", 1);
    root().folder(u"f").file(u"..", 1);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(everything(), (Strings{}));
    EXPECT_TRUE([delegate paths].empty());
}

TEST_F(UntrustedVolume, AFileWhoseNameHoldsSlashesAndDotDotIsSkipped)
{
    root().file(u"a/../../x", 1);
    root().file(u"../x", 1);
    root().file(u"f/..", 1);
    root().file(u"/../x", 1);
    root().file(u"/etc/../../x", 1);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(everything(), (Strings{}));
    EXPECT_TRUE([delegate paths].empty());
    EXPECT_EQ(volume.count(VolumeOperation::OpenFile), 0u);
}

TEST_F(UntrustedVolume, AFileWhoseNameHoldsBackslashesAndDotDotIsSkipped)
{
    root().file(u"a\\..\\..\\x", 1);
    root().file(u"..\\x", 1);
    root().file(u"a\\..", 1);
    root().file(u"a/..\\../x", 1);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(everything(), (Strings{}));
    EXPECT_TRUE([delegate paths].empty());
    EXPECT_EQ(volume.count(VolumeOperation::OpenFile), 0u);
}

TEST_F(UntrustedVolume, AFileBelowAFolderWhoseNameClimbsIsSkippedAndItsFolderIsNotMade)
{
    root().folder(u"a\\..\\..\\out").file(u"x", 1);
    root().folder(u"../out").file(u"x", 1);
    root().folder(u"b/../../out").folder(u"c").file(u"x", 1);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(everything(), (Strings{}));
    EXPECT_TRUE([delegate paths].empty());
}

TEST_F(UntrustedVolume, TheOtherFilesAreExportedAllTheSame)
{
    root().file(u"..\\x", 1);
    root().file(u"kept", 1);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(everything(), (Strings{"to/kept"}));
}

TEST_F(UntrustedVolume, NamesThatOnlyLookLikeDotDotAreExported)
{
    root().file(u"..a", 1);
    root().file(u"a..", 1);
    root().file(u"...", 1);
    root().folder(u"a..b").file(u". .", 1);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(everything(), (Strings{"to/...", "to/..a", "to/a..", "to/a..b", "to/a..b/. ."}));
}

TEST_F(UntrustedVolume, ANameThatIsAnAbsolutePathStaysBelowTheDestination)
{
    root().file(u"/x", 1);
    root().file(u"\\y", 1);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(everything(), (Strings{"to/x", "to/y"}));
}

TEST_F(UntrustedVolume, FilesNamedDotOrNothingWriteNothing)
{
    root().file(u".", 1);
    root().file(u"", 1).attributes(0x20);
    root().folder(u"f").file(u".", 1);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(everything(), (Strings{"to/f"}));
    EXPECT_TRUE([delegate percents].empty());
}

TEST_F(UntrustedVolume, PlanningDoesNotDescendIntoFoldersNamedDotOrDotDot)
{
    root().folder(u".").file(u"a", 1);
    root().folder(u"..").file(u"b", 1);
    root().folder(u"f").folder(u"..").file(u"c", 1);
    root().file(u"kept", 1);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ([delegate paths], (Strings{"/kept"}));
    for (const vx::VolumeCall &call : volume.calls(VolumeOperation::FindFirstFile))
        EXPECT_TRUE(call.path == u"/*" || call.path == u"/f/*");
}

TEST_F(UntrustedVolume, PlanningDoesNotDescendIntoAFolderWithoutAName)
{
    root().folder(u"").file(u"a", 1);
    root().file(u"kept", 1);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ([delegate paths], (Strings{"/kept"}));
}

TEST_F(UntrustedVolume, ARecordWithoutATerminatingZeroYieldsAtMostIts540Units)
{
    root().file(u"abc").unterminated();
    root().file(u"after");
    ASSERT_NE(open(), nil);
    const auto names = Names([explorer rootDirectory]);
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names[0], "abc" + std::string(537, 'x'));
    EXPECT_EQ(names[1], "after");
}

TEST_F(UntrustedVolume, ARecordOfGarbageIsAnEntryOrLeftOut)
{
    root().file(u"a");
    root().file(u"b");
    volume.atCall(VolumeOperation::FindFirstFile, 1, Fault::Garbage);
    ASSERT_NE(open(), nil);
    NSArray *entries = [explorer rootDirectory];
    ASSERT_GE([entries count], 1u);
    EXPECT_LE([entries count], 2u);
    EXPECT_EQ(Names(entries).back(), "b" + std::string());
}

TEST_F(UntrustedVolume, ANameFromBeforeDoesNotShowAfterAShorterOne)
{
    root().file(u"a long name");
    root().file(u"b");
    open();
    EXPECT_EQ(Names([explorer rootDirectory]), (Strings{"a long name", "b"}));
}

TEST_F(UntrustedVolume, AnInvalidUtf16NameGivesAnEntryThatCanBeShownOrIsLeftOut)
{
    root().file(std::u16string{u'a', 0xd800, u'b'}, 1);
    root().file(std::u16string{0xdc00}, 1);
    root().file(std::u16string{0xd800, 0xd800, 0xdc00}, 1);
    root().file(std::u16string{0xfffe, 0xffff, 0xfeff}, 1);
    root().file(u"kept.txt", 1);
    ASSERT_NE(open(), nil);
    for (Z5FindData *entry in [explorer rootDirectory]) {
        (void)[[entry strFileName] length];
        EXPECT_NE([Z5FindData fileExtention:[entry strFileName]], nil);
        (void)[Z5FileExplorerWapper fullPath:entry withfilter:@"*"];
        (void)[Z5FileExplorerWapper parentPath:entry];
        EXPECT_NE([entry strFileSize], nil);
        EXPECT_NE([entry strModifiedDateTime], nil);
    }
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(sizeOf("to/kept.txt"), 1);
}

TEST_F(UntrustedVolume, AFolderWithAnInvalidNameIsNotTakenForTheRoot)
{
    root().folder(std::u16string{0xd800}).file(u"a", 1);
    root().file(u"kept", 1);
    ASSERT_TRUE(runInto("to"));
    EXPECT_LE([delegate paths].size(), 2u);
    EXPECT_EQ(sizeOf("to/kept"), 1);
    size_t rootListings = 0;
    for (const vx::VolumeCall &call : volume.calls(VolumeOperation::FindFirstFile))
        rootListings += call.path == u"/*";
    EXPECT_EQ(rootListings, 1u);
}

TEST_F(UntrustedVolume, AFileBelowAFolderWithAnInvalidNameCrashesNothing)
{
    root().folder(u"f").file(std::u16string{u'x', 0xdfff}, 1);
    root().folder(u"g").file(u"kept", 1);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(sizeOf("to/g/kept"), 1);
}

TEST_F(UntrustedVolume, AProgressWhoseTotalIs0IsADefinedNumber)
{
    root().file(u"a", 10).catalogueSize(0);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ([delegate percents], (std::vector<int>{std::numeric_limits<int>::max()}));
    EXPECT_EQ(sizeOf("to/a"), 10);
}

TEST_F(UntrustedVolume, CatalogueSizesThatOverflowGiveADefinedTotal)
{
    root().file(u"a", 10).catalogueSize(kMost);
    root().file(u"b", 10).catalogueSize(kMost);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ([delegate totals].front(), double(kMost) / 1024 / 1024);
    EXPECT_EQ([delegate percents], (std::vector<int>{0, 0}));
}

TEST_F(UntrustedVolume, ANegativeTotalGivesADefinedNumber)
{
    root().file(u"a", 10).catalogueSize(~uint64_t(0));
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ([delegate percents], (std::vector<int>{-1000}));
}

TEST_F(UntrustedVolume, ANegativeFileSizeCopiesNothing)
{
    root().file(u"a", 10).queriedSize(~uint64_t(0));
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(sizeOf("to/a"), 0);
    EXPECT_EQ(volume.count(VolumeOperation::ReadFile), 0u);
}

TEST_F(UntrustedVolume, AFileThatClaimsAHugeSizeCanBeCancelled)
{
    root().file(u"a", 10).queriedSize(kMost);
    volume.atCall(VolumeOperation::ReadFile, 3, Fault::Stall);
    plan();
    [engine copyTo:Text(folder.At("to")) withDelegate:delegate];
    ASSERT_TRUE(volume.awaitStall());
    [delegate cancel];
    volume.release();
    ASSERT_TRUE(finish());
    EXPECT_EQ(sizeOf("to/a"), 3 * 4194304);
}

TEST_F(UntrustedVolume, PositionsAndCountsOfGarbageCrashNothing)
{
    root().file(u"a", 10);
    volume.fromCall(VolumeOperation::SetFilePosition, 1, Fault::Garbage);
    volume.fromCall(VolumeOperation::ReadFile, 1, Fault::Garbage);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(exported("to/a"), std::string(10, '\xa5'));
}

TEST_F(UntrustedVolume, AnyLastWriteTimeGivesADateText)
{
    for (const uint64_t time : {uint64_t(0), uint64_t(1), ~uint64_t(0), uint64_t(1) << 63,
                                uint64_t(116444735999999999), uint64_t(116444736000000000)})
        root().file(u"a").modified(time);
    ASSERT_NE(open(), nil);
    EXPECT_EQ([[explorer rootDirectory] count], 6u);
    for (Z5FindData *entry in [explorer rootDirectory])
        EXPECT_NE([entry strModifiedDateTime], nil);
}

TEST_F(UntrustedVolume, ANestOfFoldersThatNeverEndsIsPlannedToAnEnd)
{
    root().folder(std::u16string(100, u'n')).endless();
    root().file(u"kept", 1);
    volume.keepNoCalls();
    ASSERT_NE(plan(), nil);
    EXPECT_LT(volume.count(VolumeOperation::FindFirstFile), 400u);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(everything(), (Strings{"to/kept"}));
}

TEST_F(UntrustedVolume, ANestOfShortNamesThatNeverEndsIsPlannedToAnEndOnASmallStack)
{
    root().folder(u"a short name").endless();
    root().file(u"kept", 1);
    volume.keepNoCalls();
    planOnSmallStack();
    ASSERT_NE(engine, nil);
    EXPECT_GT(volume.count(VolumeOperation::FindFirstFile), 2500u);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(everything(), (Strings{"to/kept"}));
}

TEST_F(UntrustedVolume, ANestDeeperThanTheStackCrashesNothing)
{
    ScriptedEntry *nest = &root();
    for (int depth = 0; depth < 4000; ++depth) {
        nest = &nest->folder(u"n");
        if (depth % 1000 == 999)
            nest->file(u"file", 1);
    }
    root().file(u"kept", 1);
    volume.keepNoCalls();
    planOnSmallStack();
    ASSERT_NE(engine, nil);
    int64_t bytes = 0;
    EXPECT_EQ([[engine getAllFiles:[explorer rootDirectory] withSize:&bytes] count], 5u);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(sizeOf("to/kept"), 1);
    EXPECT_EQ(volume.openHandles(), 0u);
}

TEST_F(UntrustedVolume, APathTooLongForTheFileSystemSkipsTheFile)
{
    ScriptedEntry *nest = &root();
    for (int depth = 0; depth < 40; ++depth)
        nest = &nest->folder(std::u16string(200, u'n'));
    nest->file(u"lost", 1);
    root().file(u"kept", 1);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ([delegate paths], (Strings{"/kept"}));
}

TEST_F(UntrustedVolume, ANameTooLongForTheFileSystemStopsNothing)
{
    root().file(std::u16string(539, u'n'), 1);
    root().file(u"kept", 1);
    ASSERT_TRUE(runInto("to"));
    EXPECT_EQ(everything(), (Strings{"to/kept"}));
}
