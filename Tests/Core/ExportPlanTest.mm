#import "ExportTest.h"

namespace {

using Strings = std::vector<std::string>;

class ExportPlan : public ExportTest {};

}  // namespace

TEST_F(ExportPlan, ANilSelectionGivesNoEngine)
{
    root().file(u"a");
    open();
    EXPECT_EQ(planEntries(nil), nil);
}

TEST_F(ExportPlan, ANilExplorerGivesNoEngine)
{
    root().file(u"a");
    NSArray *selection = [open() rootDirectory];
    EXPECT_EQ([[Z5FileManager alloc] initWithSourceFiles:selection andExplorer:nil], nil);
}

TEST_F(ExportPlan, AnEmptySelectionGivesNoEngine)
{
    open();
    EXPECT_EQ(planEntries([NSArray array]), nil);
}

TEST_F(ExportPlan, ASelectionOfOnlyEmptyFoldersYieldsNoEngine)
{
    root().folder(u"a");
    root().folder(u"b").folder(u"c").folder(u"d");
    EXPECT_EQ(plan(), nil);
}

TEST_F(ExportPlan, NoEntriesExpandToNilNotToAnEmptyArray)
{
    root().file(u"a");
    ASSERT_NE(plan(), nil);
    int64_t size = 0;
    EXPECT_EQ([engine getAllFiles:nil withSize:&size], nil);
    EXPECT_EQ([engine getAllFiles:[NSArray array] withSize:&size], nil);
}

TEST_F(ExportPlan, FoldersAreReplacedInPlaceByTheirFilesDepthFirst)
{
    root().file(u"z");
    ScriptedEntry &folder = root().folder(u"f");
    folder.file(u"3");
    folder.folder(u"deep").folder(u"deeper").file(u"2");
    folder.file(u"1");
    root().folder(u"empty");
    root().file(u"a");
    ASSERT_NE(plan(), nil);
    int64_t size = 0;
    NSArray *files = [engine getAllFiles:[explorer rootDirectory] withSize:&size];
    EXPECT_EQ(Names(files), (Strings{"z", "3", "2", "1", "a"}));
}

TEST_F(ExportPlan, TheSelectionsOrderIsTheCopyOrder)
{
    root().file(u"a", 1);
    root().file(u"b", 1);
    root().file(u"c", 1);
    plan({"c", "a", "b"});
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate paths], (Strings{"/c", "/a", "/b"}));
}

TEST_F(ExportPlan, SizesAreAddedToTheAccumulator)
{
    root().file(u"a", 10);
    root().folder(u"f").file(u"b", uint64_t(5) << 30);
    ASSERT_NE(plan(), nil);
    int64_t size = 7;
    [engine getAllFiles:[explorer rootDirectory] withSize:&size];
    EXPECT_EQ(size, 17 + (int64_t(5) << 30));
}

TEST_F(ExportPlan,
       ASelectionThatHoldsAFolderAndAFileInsideItListsThatFileTwiceAndCountsItsSizeTwice)
{
    root().folder(u"f").file(u"a", 1 << 20);
    open();
    planEntries(@[ at({"f"}), at({"f", "a"}) ]);
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate paths], (Strings{"/f/a", "/f/a"}));
    EXPECT_EQ([delegate totals], (std::vector<double>{2, 2}));
    EXPECT_EQ([delegate percents], (std::vector<int>{50, 100}));
}

TEST_F(ExportPlan, FilesOfSize0AreInTheListAndCount0TowardTheTotal)
{
    root().file(u"empty");
    root().file(u"full", 512 << 10);
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate paths], (Strings{"/empty", "/full"}));
    EXPECT_EQ([delegate totals], (std::vector<double>{0.5, 0.5}));
}

TEST_F(ExportPlan, ASelectionOfOnlyEmptyFilesGivesAnEngineWhoseTotalIs0)
{
    root().file(u"a");
    root().file(u"b");
    ASSERT_NE(plan(), nil);
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate totals], (std::vector<double>{0, 0}));
    EXPECT_EQ(sizeOf("a"), 0);
    EXPECT_EQ(sizeOf("b"), 0);
}

TEST_F(ExportPlan, PlanningReadsFoldersNotListedBeforeOnTheCallersThread)
{
    root().folder(u"a").folder(u"b").file(u"c", 1);
    ASSERT_NE(plan(), nil);
    const auto listed = volume.calls(VolumeOperation::FindFirstFile);
    ASSERT_EQ(listed.size(), 3u);
    for (const vx::VolumeCall &call : listed)
        EXPECT_EQ(call.thread, std::this_thread::get_id());
    EXPECT_EQ(volume.count(VolumeOperation::OpenFile), 0u);
}

TEST_F(ExportPlan, AFolderWhosePathIsLongerThan260UnitsIsExported)
{
    ScriptedEntry &folder =
        root().folder(std::u16string(200, u'n')).folder(std::u16string(200, u'm'));
    folder.file(u"a", 3);
    ASSERT_TRUE(run());
    EXPECT_EQ(sizeOf(std::string(200, 'n') + "/" + std::string(200, 'm') + "/a"), 3);
}

TEST_F(ExportPlan, AFolderWhoseNameBeginsWithADotIsExported)
{
    root().folder(u".hidden").folder(u"..").file(u"lost", 3);
    root().folder(u".profile").folder(u"..more").folder(u"...").file(u".a", 3);
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate paths], (Strings{"/.profile/..more/.../.a"}));
    EXPECT_EQ(sizeOf(".profile/..more/.../.a"), 3);
}

TEST_F(ExportPlan, AFolderListedBeforeIsNotReadAgain)
{
    root().folder(u"a").file(u"b", 1);
    open();
    [explorer findFiles:at({"a"})];
    const size_t before = volume.calls().size();
    ASSERT_NE(plan(), nil);
    EXPECT_EQ(volume.calls().size(), before);
}

TEST_F(ExportPlan, AFolderWhoseListingFailsContributesNothing)
{
    root().folder(u"broken").file(u"lost", 4);
    root().file(u"kept", 4);
    volume.atCall(VolumeOperation::FindFirstFile, 2, Fault::Fail);
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate paths], (Strings{"/kept"}));
    EXPECT_EQ([delegate percents], (std::vector<int>{100}));
}

TEST_F(ExportPlan, AFolderThatHoldsNoFileIsNeverCreatedAtTheDestination)
{
    root().folder(u"empty").folder(u"inner");
    root().folder(u"full").file(u"a", 1);
    ASSERT_TRUE(run());
    EXPECT_FALSE(exists("empty"));
    EXPECT_TRUE(exists("full/a"));
}

TEST_F(ExportPlan, TheListNeverChangesAfterwards)
{
    root().folder(u"f").file(u"a", 1);
    ASSERT_NE(plan(), nil);
    [at({"f", "a"}) setFileSize:1 << 20];
    root().file(u"new", 1);
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate paths], (Strings{"/f/a"}));
    EXPECT_EQ([delegate totals], (std::vector<double>{1.0 / 1024 / 1024}));
}

TEST_F(ExportPlan, TheEngineKeepsTheCatalogue)
{
    root().file(u"a", 3);
    ASSERT_NE(plan(), nil);
    [explorer release];
    explorer = nil;
    ASSERT_TRUE(run());
    EXPECT_EQ(sizeOf("a"), 3);
}

TEST_F(ExportPlan, APlanThatFailsLetsGoOfTheCatalogue)
{
    root().folder(u"empty");
    open();
    const NSUInteger before = [explorer retainCount];
    @autoreleasepool {
        EXPECT_EQ(plan({"empty"}), nil);
    }
    EXPECT_EQ([explorer retainCount], before);
}

TEST_F(ExportPlan, AnEngineThatIsReleasedLetsGoOfTheCatalogue)
{
    root().file(u"a", 3);
    open();
    const NSUInteger before = [explorer retainCount];
    @autoreleasepool {
        ASSERT_NE(plan(), nil);
        [engine release];
        engine = nil;
    }
    EXPECT_EQ([explorer retainCount], before);
}
