// The whole export: the worker thread, its order of work and what it tells the sink.
#import "ExportTest.h"

#include <cstring>
#include <map>

#include "OrdinaryUser.h"

namespace {

using Strings = std::vector<std::string>;
using Percents = std::vector<int>;

constexpr uint64_t kChunk = 4194304;
constexpr uint64_t kMiB = 1 << 20;

class ExportWorker : public ExportTest {};

// Of a text in ASCII.
std::u16string Units(const std::string &text)
{
    return std::u16string(text.begin(), text.end());
}

}  // namespace

TEST_F(ExportWorker, ExportingMirrorsTheFullPathFromTheVolumesRoot)
{
    ScriptedEntry &entry = root().folder(u"a").folder(u"b").file(u"c.txt", 100);
    open();
    planEntries(@[ at({"a", "b", "c.txt"}) ]);
    ASSERT_TRUE(run());
    EXPECT_EQ(exported("a/b/c.txt"), entry.read(0, 100));
}

TEST_F(ExportWorker, AFileAtTheVolumesRootLandsInTheDestinationItself)
{
    ScriptedEntry &entry = root().file(u"a", 100);
    ASSERT_TRUE(run());
    EXPECT_EQ(exported("a"), entry.read(0, 100));
}

// Nothing of the file system's root is written: the folder asked for below it exists.
TEST_F(ExportWorker, ExportingIntoTheFileSystemRootGivesTwoSlashesWhichTheFileSystemAccepts)
{
    const std::string path = folder.At("a.txt");
    ScriptedEntry *entry = &root();
    size_t start = 1;
    for (size_t end = path.find('/', start); end != std::string::npos;
         end = path.find('/', start)) {
        entry = &entry->folder(Units(path.substr(start, end - start)));
        start = end + 1;
    }
    ScriptedEntry &file = entry->file(Units(path.substr(start)), 10);
    ASSERT_NE(plan(), nil);
    [engine copyTo:@"/" withDelegate:delegate];
    ASSERT_TRUE(finish());
    EXPECT_EQ(exported("a.txt"), file.read(0, 10));
}

TEST_F(ExportWorker, EveryBackslashOfAVolumePathBecomesASlash)
{
    root().folder(u"a\\b").folder(u"c").file(u"d\\e", 1);
    root().folder(u"x").file(u"y", 1);
    folder.MakeFolder("a/b/c/d");
    ASSERT_TRUE(run());
    EXPECT_TRUE(exists("a/b/c/d/e"));
    EXPECT_EQ([delegate paths], (Strings{"/a\\b/c/d\\e", "/x/y"}));
    EXPECT_EQ(volume.calls(VolumeOperation::OpenFile)[0].path, u"/a\\b/c/d\\e");
}

TEST_F(ExportWorker, NamesThatBeginWithAByteOrderMarkAreExportedUnderTheirOwn)
{
    std::map<std::string, ScriptedEntry *> files;
    files["ab"] = &root().file(u"ab", 10);
    files["\ufeffab"] = &root().file(u"\ufeffab", 11);
    files["\ufffeab"] = &root().file(u"\ufffeab", 12);
    files["\ufeffd/\ufeffe"] = &root().folder(u"\ufeffd").file(u"\ufeffe", 13);
    ASSERT_TRUE(run());
    for (const auto &[path, entry] : files)
        EXPECT_EQ(exported(path), entry->read(0, entry->size())) << path;
    EXPECT_EQ([delegate percents].back(), 100);
}

TEST_F(ExportWorker, EachFileIsAnnouncedThenSizedThenCopied)
{
    root().file(u"a", kChunk + 1);
    root().file(u"b", 1);
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate operations], "Continued UpdateInformation: UpdateTotalSize: GetState"
                                     " Continued UpdateProgress: Continued UpdateProgress:"
                                     " Continued UpdateInformation: UpdateTotalSize: GetState"
                                     " Continued UpdateProgress:");
}

TEST_F(ExportWorker, NothingIsSentAtTheEnd)
{
    root().file(u"empty");
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate operations], "Continued UpdateInformation: UpdateTotalSize: GetState");
}

TEST_F(ExportWorker, EveryCallOfTheDelegateComesFromTheOneWorkerThread)
{
    root().file(u"a", 1);
    root().file(u"b", 1);
    ASSERT_TRUE(run());
    const auto calls = [delegate calls];
    ASSERT_FALSE(calls.empty());
    EXPECT_NE(calls[0].thread, std::this_thread::get_id());
    for (const DelegateCall &call : calls)
        EXPECT_EQ(call.thread, calls[0].thread);
}

TEST_F(ExportWorker, FilesAreOpenedAndReadOnTheWorkerThread)
{
    root().file(u"a", 1);
    plan();
    volume.forgetCalls();
    ASSERT_TRUE(run());
    const auto worker = [delegate calls][0].thread;
    EXPECT_EQ(volume.calls().size(), 5u);
    for (const vx::VolumeCall &call : volume.calls())
        EXPECT_EQ(call.thread, worker);
}

TEST_F(ExportWorker, CopyToReturnsAtOnce)
{
    root().file(u"a", 1);
    volume.atCall(VolumeOperation::OpenFile, 1, Fault::Stall);
    ASSERT_TRUE(start());
    ASSERT_TRUE(volume.awaitStall());
    volume.release();
    ASSERT_TRUE(finish());
    EXPECT_EQ(sizeOf("a"), 1);
}

TEST_F(ExportWorker, TheThreadKeepsTheEngineTheSinkAndThePathAliveUntilItEnds)
{
    root().file(u"a", 1);
    volume.atCall(VolumeOperation::OpenFile, 1, Fault::Stall);
    @autoreleasepool {
        ASSERT_TRUE(start());
    }
    ASSERT_TRUE(volume.awaitStall());
    [engine release];
    engine = nil;
    volume.release();
    ASSERT_TRUE(finish());
    EXPECT_EQ(sizeOf("a"), 1);
    EXPECT_EQ([delegate percents], (Percents{100}));
}

TEST_F(ExportWorker, ThePercentIsAnIntegerAndTheTotalADouble)
{
    root().file(u"a", 1);
    ASSERT_TRUE(run());
    for (const DelegateCall &call : [delegate calls]) {
        if (call.operation == "UpdateProgress:")
            EXPECT_EQ(call.type, @encode(int));
        if (call.operation == "UpdateTotalSize:")
            EXPECT_EQ(call.type, @encode(double));
    }
}

TEST_F(ExportWorker, TheTotalIsInMiBAndTheSameBeforeEveryFile)
{
    root().file(u"a", kMiB);
    root().file(u"b", kMiB / 2);
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate totals], (std::vector<double>{1.5, 1.5}));
}

TEST_F(ExportWorker, ThePercentIsTruncatedAndRunsOverAllFiles)
{
    root().file(u"a", 1);
    root().file(u"b", 1);
    root().file(u"c", 1);
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate percents], (Percents{33, 66, 100}));
}

TEST_F(ExportWorker, WhenTheVolumeReportsAFileLargerThanTheCatalogueDidThePercentCanPass100)
{
    root().file(u"a", 2 * kChunk).catalogueSize(kChunk);
    root().file(u"b", kChunk);
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate percents], (Percents{50, 100, 150}));
    EXPECT_EQ(sizeOf("b"), static_cast<long long>(kChunk));
}

TEST_F(ExportWorker, ANilDestinationRootReturnsAtOnce)
{
    root().file(u"a", 1);
    ASSERT_NE(plan(), nil);
    volume.forgetCalls();
    EXPECT_FALSE([engine copyToInThread:nil]);
    EXPECT_TRUE([engine copyTo:nil withDelegate:delegate]);
    ASSERT_TRUE(finish());
    EXPECT_TRUE([delegate calls].empty());
    EXPECT_TRUE(volume.calls().empty());
}

TEST_F(ExportWorker, TheLoopReturnsTrueAlsoWhenItWasCancelled)
{
    root().file(u"a", 1);
    plan();
    [delegate cancel];
    ASSERT_TRUE(run());
    EXPECT_TRUE([engine copyToInThread:Text(destination())]);
    EXPECT_FALSE(exists("a"));
}

TEST_F(ExportWorker, NoVolumePathForAnEntryTheEntryIsSkipped)
{
    root().file(u"nameless", 1);
    root().file(u"b", 1);
    plan();
    [at({"nameless"}) setStrFileName:nil];
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate paths], (Strings{"/b"}));
    EXPECT_EQ([delegate percents], (Percents{50}));
}

TEST_F(ExportWorker, AFileWhoseFolderCannotBeCreatedIsSkippedWithoutItsNameEverBeingShown)
{
    root().folder(u"a").folder(u"b").file(u"c", 1);
    root().file(u"d", 1);
    folder.WriteFile("a", "a plain file");
    plan();
    volume.forgetCalls();
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate paths], (Strings{"/d"}));
    EXPECT_EQ([delegate percents], (Percents{50}));
    EXPECT_EQ(volume.count(VolumeOperation::OpenFile), 1u);
}

TEST_F(ExportWorker, WhenAPlainFileStandsInTheFoldersPlaceEachCopyBeneathItFailsAtTheLocalFile)
{
    root().folder(u"a").file(u"b", 1);
    root().folder(u"a2").file(u"c", 1);
    folder.WriteFile("a", "a plain file");
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate paths], (Strings{"/a/b", "/a2/c"}));
    EXPECT_EQ([delegate percents], (Percents{50}));
    EXPECT_EQ(exported("a"), "a plain file");
    EXPECT_EQ(volume.openHandles(), 0u);
}

TEST_F(ExportWorker, AMissingDestinationIsMade)
{
    root().file(u"a", 1);
    plan();
    [engine copyTo:Text(folder.At("new/place")) withDelegate:delegate];
    ASSERT_TRUE(finish());
    EXPECT_EQ(sizeOf("new/place/a"), 1);
}

TEST_F(ExportWorker, ADestinationThatIsAPlainFileGetsNothing)
{
    root().file(u"a", 1);
    root().folder(u"f").file(u"b", 1);
    folder.WriteFile("plain", "kept");
    plan();
    [engine copyTo:Text(folder.At("plain")) withDelegate:delegate];
    ASSERT_TRUE(finish());
    EXPECT_EQ(exported("plain"), "kept");
    EXPECT_EQ([delegate paths], (Strings{"/a"}));  // its folder, the plain file, exists
    EXPECT_TRUE([delegate percents].empty());
}

TEST_F(ExportWorker, ADestinationWithoutPermissionGetsNothingAndStopsNothing)
{
    root().file(u"a", 1);
    root().folder(u"f").file(u"b", 1);
    root().file(u"c", 1);
    folder.MakeFolder("locked");
    chmod(folder.At("locked").c_str(), 0555);
    chmod(destination().c_str(), 0755);
    plan();
    {
        const OrdinaryUser user;
        [engine copyTo:Text(folder.At("locked")) withDelegate:delegate];
        ASSERT_TRUE(finish());
    }
    EXPECT_EQ([delegate paths], (Strings{"/a", "/c"}));
    EXPECT_TRUE([delegate percents].empty());
    EXPECT_FALSE(exists("locked/a"));
    chmod(folder.At("locked").c_str(), 0755);
}

TEST_F(ExportWorker, WhenTheSourceCannotBeOpenedTheNextFileFollowsAndItsBytesNeverCount)
{
    root().file(u"a", 1);
    root().file(u"b", 1);
    volume.atCall(VolumeOperation::OpenFile, 1, Fault::Fail);
    ASSERT_TRUE(run());
    EXPECT_FALSE(exists("a"));
    EXPECT_TRUE(exists("b"));
    EXPECT_EQ([delegate paths], (Strings{"/a", "/b"}));
    EXPECT_EQ([delegate percents], (Percents{50}));
}

TEST_F(ExportWorker, WhenTheLocalFileCannotBeCreatedTheNextFileFollowsAndItsBytesNeverCount)
{
    root().file(u"a", 1);
    root().file(u"b", 1);
    folder.MakeFolder("a");
    ASSERT_TRUE(run());
    EXPECT_TRUE(exists("b"));
    EXPECT_EQ([delegate percents], (Percents{50}));
}

TEST_F(ExportWorker, AReadThatFailsIsCountedAsCopied)
{
    root().file(u"a", 1);
    root().file(u"b", 1);
    volume.atCall(VolumeOperation::ReadFile, 1, Fault::Fail);
    ASSERT_TRUE(run());
    EXPECT_EQ(exported("a"), std::string(1, '\0'));
    EXPECT_EQ([delegate percents], (Percents{50, 100}));
}

TEST_F(ExportWorker, AGetStateOf2StopsBeforeTheFileIsCopiedButAfterItWasAnnounced)
{
    root().file(u"a", 1);
    root().folder(u"f").file(u"b", 1);
    root().file(u"c", 1);
    [delegate stopAfter:1];
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate paths], (Strings{"/a", "/f/b"}));
    EXPECT_TRUE(exists("a"));
    EXPECT_TRUE(exists("f"));
    EXPECT_FALSE(exists("f/b"));
    EXPECT_FALSE(exists("c"));
    EXPECT_EQ(volume.count(VolumeOperation::OpenFile), 1u);
}

TEST_F(ExportWorker, AnyOtherStateGoesOn)
{
    root().file(u"a", 1);
    [delegate SetState:3];
    ASSERT_TRUE(run());
    EXPECT_TRUE(exists("a"));
}

TEST_F(ExportWorker, AnExportCancelledBeforeItsStartDoesNothing)
{
    root().folder(u"f").file(u"a", 1);
    [delegate cancel];
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate operations], "Continued");
    EXPECT_FALSE(exists("f"));
}

TEST_F(ExportWorker, ACancelDuringTheThirdOfFiveFilesLeaves1And2Complete3PartialAnd4And5Absent)
{
    std::vector<ScriptedEntry *> files;
    for (const char16_t *name : {u"1", u"2", u"3", u"4", u"5"})
        files.push_back(&root().file(name, 3 * kChunk));
    volume.atCall(VolumeOperation::ReadFile, 8, Fault::Stall);  // the second chunk of the third
    ASSERT_TRUE(start());
    ASSERT_TRUE(volume.awaitStall());
    [delegate cancel];
    volume.release();
    ASSERT_TRUE(finish());

    EXPECT_TRUE(exported("1") == files[0]->read(0, 3 * kChunk));
    EXPECT_TRUE(exported("2") == files[1]->read(0, 3 * kChunk));
    EXPECT_TRUE(exported("3") == files[2]->read(0, 2 * kChunk));
    EXPECT_FALSE(exists("4"));
    EXPECT_FALSE(exists("5"));
    EXPECT_EQ([delegate paths], (Strings{"/1", "/2", "/3"}));
    EXPECT_EQ(volume.openHandles(), 0u);
}

TEST_F(ExportWorker, ACancelInTheLastChunkOfAFileLeavesThatFileComplete)
{
    ScriptedEntry &first = root().file(u"a", kChunk);
    root().file(u"b", 1);
    volume.atCall(VolumeOperation::ReadFile, 1, Fault::Stall);
    ASSERT_TRUE(start());
    ASSERT_TRUE(volume.awaitStall());
    [delegate cancel];
    volume.release();
    ASSERT_TRUE(finish());
    EXPECT_TRUE(exported("a") == first.read(0, kChunk));
    EXPECT_FALSE(exists("b"));
}

TEST_F(ExportWorker, AFolderIsListedOnTheMainThreadWhileTheWorkerReads)
{
    root().file(u"a", 2 * kChunk);
    root().folder(u"f").file(u"b", 1);
    open();
    planEntries(@[ at({"a"}) ]);
    volume.atCall(VolumeOperation::ReadFile, 1, Fault::Stall);
    ASSERT_TRUE(start());
    ASSERT_TRUE(volume.awaitStall());
    EXPECT_EQ(Names([explorer findFiles:at({"f"})]), (Strings{"b"}));
    volume.release();
    ASSERT_TRUE(finish());
    EXPECT_EQ(sizeOf("a"), static_cast<long long>(2 * kChunk));
}

TEST_F(ExportWorker, ASecondExportOfOneEngineCountsOnFromTheFirst)
{
    root().file(u"a", 1);
    ASSERT_TRUE(run());
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate percents], (Percents{100, 200}));
}

TEST_F(ExportWorker, TheWorkerNeverSetsTheState)
{
    root().file(u"a", 1);
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate operations].find("SetState:"), std::string::npos);
}

TEST_F(ExportWorker, ManySmallFilesArriveWhole)
{
    constexpr size_t kFiles = 500;
    std::vector<ScriptedEntry *> folders;
    for (const char16_t *name : {u"a", u"b", u"c", u"d", u"e"})
        folders.push_back(&root().folder(name));
    std::vector<ScriptedEntry *> files;
    for (size_t i = 0; i < kFiles; ++i) {
        const std::string name = std::to_string(i);
        files.push_back(&folders[i % 5]->file(std::u16string(name.begin(), name.end()), i));
    }
    ASSERT_TRUE(run());
    EXPECT_EQ([delegate percents].back(), 100);
    for (size_t i = 0; i < kFiles; ++i) {
        const std::string name = std::string(1, char('a' + i % 5)) + "/" + std::to_string(i);
        EXPECT_EQ(exported(name), files[i]->read(0, i)) << name;
    }
}
