#import "ExportTest.h"

namespace {

using Strings = std::vector<std::string>;

class ExportPlan : public ExportTest {};

}  // namespace

TEST_F(ExportPlan, ANilSelectionGivesNoEngine)
{
    Root().File(u"a");
    Open();
    EXPECT_EQ(PlanEntries(nil), nil);
}

TEST_F(ExportPlan, ANilExplorerGivesNoEngine)
{
    Root().File(u"a");
    NSArray *selection = [Open() rootDirectory];
    EXPECT_EQ([[Z5FileManager alloc] initWithSourceFiles:selection andExplorer:nil], nil);
}

TEST_F(ExportPlan, AnEmptySelectionGivesNoEngine)
{
    Open();
    EXPECT_EQ(PlanEntries([NSArray array]), nil);
}

TEST_F(ExportPlan, ASelectionOfOnlyEmptyFoldersYieldsNoEngine)
{
    Root().Folder(u"a");
    Root().Folder(u"b").Folder(u"c").Folder(u"d");
    EXPECT_EQ(Plan(), nil);
}

TEST_F(ExportPlan, NoEntriesExpandToNilNotToAnEmptyArray)
{
    Root().File(u"a");
    ASSERT_NE(Plan(), nil);
    int64_t size = 0;
    EXPECT_EQ([engine getAllFiles:nil withSize:&size], nil);
    EXPECT_EQ([engine getAllFiles:[NSArray array] withSize:&size], nil);
}

TEST_F(ExportPlan, FoldersAreReplacedInPlaceByTheirFilesDepthFirst)
{
    Root().File(u"z");
    ScriptedEntry &folder = Root().Folder(u"f");
    folder.File(u"3");
    folder.Folder(u"deep").Folder(u"deeper").File(u"2");
    folder.File(u"1");
    Root().Folder(u"empty");
    Root().File(u"a");
    ASSERT_NE(Plan(), nil);
    int64_t size = 0;
    NSArray *files = [engine getAllFiles:[explorer rootDirectory] withSize:&size];
    EXPECT_EQ(Names(files), (Strings{"z", "3", "2", "1", "a"}));
}

TEST_F(ExportPlan, TheSelectionsOrderIsTheCopyOrder)
{
    Root().File(u"a", 1);
    Root().File(u"b", 1);
    Root().File(u"c", 1);
    Plan({"c", "a", "b"});
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate paths], (Strings{"/c", "/a", "/b"}));
}

TEST_F(ExportPlan, SizesAreAddedToTheAccumulator)
{
    Root().File(u"a", 10);
    Root().Folder(u"f").File(u"b", uint64_t(5) << 30);
    ASSERT_NE(Plan(), nil);
    int64_t size = 7;
    [engine getAllFiles:[explorer rootDirectory] withSize:&size];
    EXPECT_EQ(size, 17 + (int64_t(5) << 30));
}

TEST_F(ExportPlan,
       ASelectionThatHoldsAFolderAndAFileInsideItListsThatFileTwiceAndCountsItsSizeTwice)
{
    Root().Folder(u"f").File(u"a", 1 << 20);
    Open();
    PlanEntries(@[ At({"f"}), At({"f", "a"}) ]);
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate paths], (Strings{"/f/a", "/f/a"}));
    EXPECT_EQ([delegate totals], (std::vector<double>{2, 2}));
    EXPECT_EQ([delegate percents], (std::vector<int>{50, 100}));
}

TEST_F(ExportPlan, FilesOfSize0AreInTheListAndCount0TowardTheTotal)
{
    Root().File(u"empty");
    Root().File(u"full", 512 << 10);
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate paths], (Strings{"/empty", "/full"}));
    EXPECT_EQ([delegate totals], (std::vector<double>{0.5, 0.5}));
}

TEST_F(ExportPlan, ASelectionOfOnlyEmptyFilesGivesAnEngineWhoseTotalIs0)
{
    Root().File(u"a");
    Root().File(u"b");
    ASSERT_NE(Plan(), nil);
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate totals], (std::vector<double>{0, 0}));
    EXPECT_EQ(SizeOf("a"), 0);
    EXPECT_EQ(SizeOf("b"), 0);
}

TEST_F(ExportPlan, PlanningReadsFoldersNotListedBeforeOnTheCallersThread)
{
    Root().Folder(u"a").Folder(u"b").File(u"c", 1);
    ASSERT_NE(Plan(), nil);
    const auto listed = volume.Calls(VolumeOperation::kFindFirstFile);
    ASSERT_EQ(listed.size(), 3u);
    for (const vx::VolumeCall &call : listed)
        EXPECT_EQ(call.thread, std::this_thread::get_id());
    EXPECT_EQ(volume.Count(VolumeOperation::kOpenFile), 0u);
}

TEST_F(ExportPlan, AFolderWhosePathIsLongerThan260UnitsIsExported)
{
    ScriptedEntry &folder =
        Root().Folder(std::u16string(200, u'n')).Folder(std::u16string(200, u'm'));
    folder.File(u"a", 3);
    ASSERT_TRUE(Run());
    EXPECT_EQ(SizeOf(std::string(200, 'n') + "/" + std::string(200, 'm') + "/a"), 3);
}

TEST_F(ExportPlan, AFolderWhoseNameBeginsWithADotIsExported)
{
    Root().Folder(u".hidden").Folder(u"..").File(u"lost", 3);
    Root().Folder(u".profile").Folder(u"..more").Folder(u"...").File(u".a", 3);
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate paths], (Strings{"/.profile/..more/.../.a"}));
    EXPECT_EQ(SizeOf(".profile/..more/.../.a"), 3);
}

TEST_F(ExportPlan, AFolderListedBeforeIsNotReadAgain)
{
    Root().Folder(u"a").File(u"b", 1);
    Open();
    [explorer findFiles:At({"a"})];
    const size_t before = volume.Calls().size();
    ASSERT_NE(Plan(), nil);
    EXPECT_EQ(volume.Calls().size(), before);
}

TEST_F(ExportPlan, AFolderWhoseListingFailsContributesNothing)
{
    Root().Folder(u"broken").File(u"lost", 4);
    Root().File(u"kept", 4);
    volume.AtCall(VolumeOperation::kFindFirstFile, 2, Fault::kFail);
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate paths], (Strings{"/kept"}));
    EXPECT_EQ([delegate percents], (std::vector<int>{100}));
}

TEST_F(ExportPlan, AFolderThatHoldsNoFileIsNeverCreatedAtTheDestination)
{
    Root().Folder(u"empty").Folder(u"inner");
    Root().Folder(u"full").File(u"a", 1);
    ASSERT_TRUE(Run());
    EXPECT_FALSE(Exists("empty"));
    EXPECT_TRUE(Exists("full/a"));
}

TEST_F(ExportPlan, TheListNeverChangesAfterwards)
{
    Root().Folder(u"f").File(u"a", 1);
    ASSERT_NE(Plan(), nil);
    [At({"f", "a"}) setFileSize:1 << 20];
    Root().File(u"new", 1);
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate paths], (Strings{"/f/a"}));
    EXPECT_EQ([delegate totals], (std::vector<double>{1.0 / 1024 / 1024}));
}

TEST_F(ExportPlan, TheEngineKeepsTheCatalogue)
{
    Root().File(u"a", 3);
    ASSERT_NE(Plan(), nil);
    [explorer release];
    explorer = nil;
    ASSERT_TRUE(Run());
    EXPECT_EQ(SizeOf("a"), 3);
}

TEST_F(ExportPlan, APlanThatFailsLetsGoOfTheCatalogue)
{
    Root().Folder(u"empty");
    Open();
    const NSUInteger before = [explorer retainCount];
    @autoreleasepool {
        EXPECT_EQ(Plan({"empty"}), nil);
    }
    EXPECT_EQ([explorer retainCount], before);
}

TEST_F(ExportPlan, AnEngineThatIsReleasedLetsGoOfTheCatalogue)
{
    Root().File(u"a", 3);
    Open();
    const NSUInteger before = [explorer retainCount];
    @autoreleasepool {
        ASSERT_NE(Plan(), nil);
        [engine release];
        engine = nil;
    }
    EXPECT_EQ([explorer retainCount], before);
}
