// The whole export: the worker thread, its order of work and what it tells the sink.
#import "ExportTest.h"

#include <objc/runtime.h>

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
    ScriptedEntry &entry = Root().Folder(u"a").Folder(u"b").File(u"c.txt", 100);
    Open();
    PlanEntries(@[ At({"a", "b", "c.txt"}) ]);
    ASSERT_TRUE(Run());
    EXPECT_EQ(Exported("a/b/c.txt"), entry.Read(0, 100));
}

TEST_F(ExportWorker, AFileAtTheVolumesRootLandsInTheDestinationItself)
{
    ScriptedEntry &entry = Root().File(u"a", 100);
    ASSERT_TRUE(Run());
    EXPECT_EQ(Exported("a"), entry.Read(0, 100));
}

// Nothing of the file system's root is written: the folder asked for below it exists.
TEST_F(ExportWorker, ExportingIntoTheFileSystemRootGivesTwoSlashesWhichTheFileSystemAccepts)
{
    const std::string path = folder.At("a.txt");
    ScriptedEntry *entry = &Root();
    size_t start = 1;
    for (size_t end = path.find('/', start); end != std::string::npos;
         end = path.find('/', start)) {
        entry = &entry->Folder(Units(path.substr(start, end - start)));
        start = end + 1;
    }
    ScriptedEntry &file = entry->File(Units(path.substr(start)), 10);
    ASSERT_NE(Plan(), nil);
    [engine copyTo:@"/" withDelegate:delegate];
    ASSERT_TRUE(Finish());
    EXPECT_EQ(Exported("a.txt"), file.Read(0, 10));
}

TEST_F(ExportWorker, EveryBackslashOfAVolumePathBecomesASlash)
{
    Root().Folder(u"a\\b").Folder(u"c").File(u"d\\e", 1);
    Root().Folder(u"x").File(u"y", 1);
    folder.MakeFolder("a/b/c/d");
    ASSERT_TRUE(Run());
    EXPECT_TRUE(Exists("a/b/c/d/e"));
    EXPECT_EQ([delegate paths], (Strings{"/a\\b/c/d\\e", "/x/y"}));
    EXPECT_EQ(volume.Calls(VolumeOperation::kOpenFile)[0].path, u"/a\\b/c/d\\e");
}

TEST_F(ExportWorker, NamesThatBeginWithAByteOrderMarkAreExportedUnderTheirOwn)
{
    std::map<std::string, ScriptedEntry *> files;
    files["ab"] = &Root().File(u"ab", 10);
    files["\ufeffab"] = &Root().File(u"\ufeffab", 11);
    files["\ufffeab"] = &Root().File(u"\ufffeab", 12);
    files["\ufeffd/\ufeffe"] = &Root().Folder(u"\ufeffd").File(u"\ufeffe", 13);
    ASSERT_TRUE(Run());
    for (const auto &[path, entry] : files)
        EXPECT_EQ(Exported(path), entry->Read(0, entry->Size())) << path;
    EXPECT_EQ([delegate percents].back(), 100);
}

TEST_F(ExportWorker, EachFileIsAnnouncedThenSizedThenCopied)
{
    Root().File(u"a", kChunk + 1);
    Root().File(u"b", 1);
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate operations], "Continued UpdateInformation: UpdateTotalSize: GetState"
                                     " Continued UpdateProgress: Continued UpdateProgress:"
                                     " Continued UpdateInformation: UpdateTotalSize: GetState"
                                     " Continued UpdateProgress:");
}

TEST_F(ExportWorker, NothingIsSentAtTheEnd)
{
    Root().File(u"empty");
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate operations], "Continued UpdateInformation: UpdateTotalSize: GetState");
}

TEST_F(ExportWorker, EveryCallOfTheDelegateComesFromTheOneWorkerThread)
{
    Root().File(u"a", 1);
    Root().File(u"b", 1);
    ASSERT_TRUE(Run());
    const auto calls = [delegate calls];
    ASSERT_FALSE(calls.empty());
    EXPECT_NE(calls[0].thread, std::this_thread::get_id());
    for (const DelegateCall &call : calls)
        EXPECT_EQ(call.thread, calls[0].thread);
}

TEST_F(ExportWorker, FilesAreOpenedAndReadOnTheWorkerThread)
{
    Root().File(u"a", 1);
    Plan();
    volume.ForgetCalls();
    ASSERT_TRUE(Run());
    const auto worker = [delegate calls][0].thread;
    EXPECT_EQ(volume.Calls().size(), 5u);
    for (const vx::VolumeCall &call : volume.Calls())
        EXPECT_EQ(call.thread, worker);
}

TEST_F(ExportWorker, CopyToReturnsAtOnce)
{
    Root().File(u"a", 1);
    volume.AtCall(VolumeOperation::kOpenFile, 1, Fault::kStall);
    ASSERT_TRUE(Start());
    ASSERT_TRUE(volume.AwaitStall());
    volume.Release();
    ASSERT_TRUE(Finish());
    EXPECT_EQ(SizeOf("a"), 1);
}

TEST_F(ExportWorker, TheThreadKeepsTheEngineTheSinkAndThePathAliveUntilItEnds)
{
    Root().File(u"a", 1);
    volume.AtCall(VolumeOperation::kOpenFile, 1, Fault::kStall);
    @autoreleasepool {
        ASSERT_TRUE(Start());
    }
    ASSERT_TRUE(volume.AwaitStall());
    [engine release];
    engine = nil;
    volume.Release();
    ASSERT_TRUE(Finish());
    EXPECT_EQ(SizeOf("a"), 1);
    EXPECT_EQ([delegate percents], (Percents{100}));
}

TEST_F(ExportWorker, ThePercentIsAnIntegerAndTheTotalADouble)
{
    Root().File(u"a", 1);
    ASSERT_TRUE(Run());
    for (const DelegateCall &call : [delegate calls]) {
        if (call.operation == "UpdateProgress:")
            EXPECT_EQ(call.type, @encode(int));
        if (call.operation == "UpdateTotalSize:")
            EXPECT_EQ(call.type, @encode(double));
    }
}

TEST_F(ExportWorker, TheTotalIsInMiBAndTheSameBeforeEveryFile)
{
    Root().File(u"a", kMiB);
    Root().File(u"b", kMiB / 2);
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate totals], (std::vector<double>{1.5, 1.5}));
}

TEST_F(ExportWorker, ThePercentIsTruncatedAndRunsOverAllFiles)
{
    Root().File(u"a", 1);
    Root().File(u"b", 1);
    Root().File(u"c", 1);
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate percents], (Percents{33, 66, 100}));
}

TEST_F(ExportWorker, WhenTheVolumeReportsAFileLargerThanTheCatalogueDidThePercentCanPass100)
{
    Root().File(u"a", 2 * kChunk).CatalogueSize(kChunk);
    Root().File(u"b", kChunk);
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate percents], (Percents{50, 100, 150}));
    EXPECT_EQ(SizeOf("b"), static_cast<long long>(kChunk));
}

TEST_F(ExportWorker, ANilDestinationRootReturnsAtOnce)
{
    Root().File(u"a", 1);
    ASSERT_NE(Plan(), nil);
    volume.ForgetCalls();
    bool returned = true;
    OnWorker([&] { returned = [engine copyToInThread:nil]; });
    EXPECT_FALSE(returned);
    EXPECT_TRUE([engine copyTo:nil withDelegate:delegate]);
    ASSERT_TRUE(Finish());
    EXPECT_TRUE([delegate calls].empty());
    EXPECT_TRUE(volume.Calls().empty());
}

TEST_F(ExportWorker, TheLoopReturnsTrueAlsoWhenItWasCancelled)
{
    Root().File(u"a", 1);
    Plan();
    [delegate cancel];
    ASSERT_TRUE(Run());
    bool returned = false;
    OnWorker([&] { returned = [engine copyToInThread:Text(Destination())]; });
    EXPECT_TRUE(returned);
    EXPECT_FALSE(Exists("a"));
}

TEST_F(ExportWorker, NoVolumePathForAnEntryTheEntryIsSkipped)
{
    Root().File(u"nameless", 1);
    Root().File(u"b", 1);
    Plan();
    [At({"nameless"}) setStrFileName:nil];
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate paths], (Strings{"/b"}));
    EXPECT_EQ([delegate percents], (Percents{50}));
}

TEST_F(ExportWorker, AFileWhoseFolderCannotBeCreatedIsSkippedWithoutItsNameEverBeingShown)
{
    Root().Folder(u"a").Folder(u"b").File(u"c", 1);
    Root().File(u"d", 1);
    folder.WriteFile("a", "a plain file");
    Plan();
    volume.ForgetCalls();
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate paths], (Strings{"/d"}));
    EXPECT_EQ([delegate percents], (Percents{50}));
    EXPECT_EQ(volume.Count(VolumeOperation::kOpenFile), 1u);
}

TEST_F(ExportWorker, WhenAPlainFileStandsInTheFoldersPlaceEachCopyBeneathItFailsAtTheLocalFile)
{
    Root().Folder(u"a").File(u"b", 1);
    Root().Folder(u"a2").File(u"c", 1);
    folder.WriteFile("a", "a plain file");
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate paths], (Strings{"/a/b", "/a2/c"}));
    EXPECT_EQ([delegate percents], (Percents{50}));
    EXPECT_EQ(Exported("a"), "a plain file");
    EXPECT_EQ(volume.OpenHandles(), 0u);
}

TEST_F(ExportWorker, AMissingDestinationIsMade)
{
    Root().File(u"a", 1);
    Plan();
    [engine copyTo:Text(folder.At("new/place")) withDelegate:delegate];
    ASSERT_TRUE(Finish());
    EXPECT_EQ(SizeOf("new/place/a"), 1);
}

TEST_F(ExportWorker, ADestinationThatIsAPlainFileGetsNothing)
{
    Root().File(u"a", 1);
    Root().Folder(u"f").File(u"b", 1);
    folder.WriteFile("plain", "kept");
    Plan();
    [engine copyTo:Text(folder.At("plain")) withDelegate:delegate];
    ASSERT_TRUE(Finish());
    EXPECT_EQ(Exported("plain"), "kept");
    EXPECT_EQ([delegate paths], (Strings{"/a"}));  // its folder, the plain file, exists
    EXPECT_TRUE([delegate percents].empty());
}

TEST_F(ExportWorker, ADestinationWithoutPermissionGetsNothingAndStopsNothing)
{
    Root().File(u"a", 1);
    Root().Folder(u"f").File(u"b", 1);
    Root().File(u"c", 1);
    folder.MakeFolder("locked");
    chmod(folder.At("locked").c_str(), 0555);
    chmod(Destination().c_str(), 0755);
    Plan();
    {
        const OrdinaryUser user;
        [engine copyTo:Text(folder.At("locked")) withDelegate:delegate];
        ASSERT_TRUE(Finish());
    }
    EXPECT_EQ([delegate paths], (Strings{"/a", "/c"}));
    EXPECT_TRUE([delegate percents].empty());
    EXPECT_FALSE(Exists("locked/a"));
    chmod(folder.At("locked").c_str(), 0755);
}

TEST_F(ExportWorker, WhenTheSourceCannotBeOpenedTheNextFileFollowsAndItsBytesNeverCount)
{
    Root().File(u"a", 1);
    Root().File(u"b", 1);
    volume.AtCall(VolumeOperation::kOpenFile, 1, Fault::kFail);
    ASSERT_TRUE(Run());
    EXPECT_FALSE(Exists("a"));
    EXPECT_TRUE(Exists("b"));
    EXPECT_EQ([delegate paths], (Strings{"/a", "/b"}));
    EXPECT_EQ([delegate percents], (Percents{50}));
}

TEST_F(ExportWorker, WhenTheLocalFileCannotBeCreatedTheNextFileFollowsAndItsBytesNeverCount)
{
    Root().File(u"a", 1);
    Root().File(u"b", 1);
    folder.MakeFolder("a");
    ASSERT_TRUE(Run());
    EXPECT_TRUE(Exists("b"));
    EXPECT_EQ([delegate percents], (Percents{50}));
}

TEST_F(ExportWorker, AReadThatFailsIsCountedAsCopied)
{
    Root().File(u"a", 1);
    Root().File(u"b", 1);
    volume.AtCall(VolumeOperation::kReadFile, 1, Fault::kFail);
    ASSERT_TRUE(Run());
    EXPECT_EQ(Exported("a"), std::string(1, '\0'));
    EXPECT_EQ([delegate percents], (Percents{50, 100}));
}

TEST_F(ExportWorker, AGetStateOf2StopsBeforeTheFileIsCopiedButAfterItWasAnnounced)
{
    Root().File(u"a", 1);
    Root().Folder(u"f").File(u"b", 1);
    Root().File(u"c", 1);
    [delegate stopAfter:1];
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate paths], (Strings{"/a", "/f/b"}));
    EXPECT_TRUE(Exists("a"));
    EXPECT_TRUE(Exists("f"));
    EXPECT_FALSE(Exists("f/b"));
    EXPECT_FALSE(Exists("c"));
    EXPECT_EQ(volume.Count(VolumeOperation::kOpenFile), 1u);
}

TEST_F(ExportWorker, AnyOtherStateGoesOn)
{
    Root().File(u"a", 1);
    [delegate SetState:3];
    ASSERT_TRUE(Run());
    EXPECT_TRUE(Exists("a"));
}

TEST_F(ExportWorker, AnExportCancelledBeforeItsStartDoesNothing)
{
    Root().Folder(u"f").File(u"a", 1);
    [delegate cancel];
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate operations], "Continued");
    EXPECT_FALSE(Exists("f"));
}

TEST_F(ExportWorker, ACancelDuringTheThirdOfFiveFilesLeaves1And2Complete3PartialAnd4And5Absent)
{
    std::vector<ScriptedEntry *> files;
    for (const char16_t *name : {u"1", u"2", u"3", u"4", u"5"})
        files.push_back(&Root().File(name, 3 * kChunk));
    volume.AtCall(VolumeOperation::kReadFile, 8, Fault::kStall);  // the second chunk of the third
    ASSERT_TRUE(Start());
    ASSERT_TRUE(volume.AwaitStall());
    [delegate cancel];
    volume.Release();
    ASSERT_TRUE(Finish());

    EXPECT_TRUE(Exported("1") == files[0]->Read(0, 3 * kChunk));
    EXPECT_TRUE(Exported("2") == files[1]->Read(0, 3 * kChunk));
    EXPECT_TRUE(Exported("3") == files[2]->Read(0, 2 * kChunk));
    EXPECT_FALSE(Exists("4"));
    EXPECT_FALSE(Exists("5"));
    EXPECT_EQ([delegate paths], (Strings{"/1", "/2", "/3"}));
    EXPECT_EQ(volume.OpenHandles(), 0u);
}

TEST_F(ExportWorker, ACancelInTheLastChunkOfAFileLeavesThatFileComplete)
{
    ScriptedEntry &first = Root().File(u"a", kChunk);
    Root().File(u"b", 1);
    volume.AtCall(VolumeOperation::kReadFile, 1, Fault::kStall);
    ASSERT_TRUE(Start());
    ASSERT_TRUE(volume.AwaitStall());
    [delegate cancel];
    volume.Release();
    ASSERT_TRUE(Finish());
    EXPECT_TRUE(Exported("a") == first.Read(0, kChunk));
    EXPECT_FALSE(Exists("b"));
}

TEST_F(ExportWorker, AFolderIsListedOnTheMainThreadWhileTheWorkerReads)
{
    Root().File(u"a", 2 * kChunk);
    Root().Folder(u"f").File(u"b", 1);
    Open();
    PlanEntries(@[ At({"a"}) ]);
    volume.AtCall(VolumeOperation::kReadFile, 1, Fault::kStall);
    ASSERT_TRUE(Start());
    ASSERT_TRUE(volume.AwaitStall());
    EXPECT_EQ(Names([explorer findFiles:At({"f"})]), (Strings{"b"}));
    volume.Release();
    ASSERT_TRUE(Finish());
    EXPECT_EQ(SizeOf("a"), static_cast<long long>(2 * kChunk));
}

TEST_F(ExportWorker, ASecondExportOfOneEngineCountsOnFromTheFirst)
{
    Root().File(u"a", 1);
    ASSERT_TRUE(Run());
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate percents], (Percents{100, 200}));
}

TEST_F(ExportWorker, TheWorkerNeverSetsTheState)
{
    Root().File(u"a", 1);
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate operations].find("SetState:"), std::string::npos);
}

TEST_F(ExportWorker, ManySmallFilesArriveWhole)
{
    constexpr size_t kFiles = 500;
    std::vector<ScriptedEntry *> folders;
    for (const char16_t *name : {u"a", u"b", u"c", u"d", u"e"})
        folders.push_back(&Root().Folder(name));
    std::vector<ScriptedEntry *> files;
    for (size_t i = 0; i < kFiles; ++i) {
        const std::string name = std::to_string(i);
        files.push_back(&folders[i % 5]->File(std::u16string(name.begin(), name.end()), i));
    }
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate percents].back(), 100);
    for (size_t i = 0; i < kFiles; ++i) {
        const std::string name = std::string(1, char('a' + i % 5)) + "/" + std::to_string(i);
        EXPECT_EQ(Exported(name), files[i]->Read(0, i)) << name;
    }
}

namespace {

IMP g_start = nullptr;

void FailToStart(id, SEL)
{
    [NSException raise:NSInternalInconsistencyException format:@"no thread"];
}

// While it lives, the system has no thread to give.
class NoThreads {
public:
    NoThreads() { g_start = method_setImplementation(Start(), reinterpret_cast<IMP>(FailToStart)); }
    ~NoThreads() { method_setImplementation(Start(), g_start); }
    NoThreads(const NoThreads &) = delete;
    NoThreads &operator=(const NoThreads &) = delete;

private:
    static Method Start() { return class_getInstanceMethod([NSThread class], @selector(start)); }
};

}  // namespace

TEST_F(ExportWorker, AThreadThatCannotBeMadeIsAFailureOfTheStart)
{
    Root().File(u"a", 1);
    Plan();
    {
        const NoThreads none;
        EXPECT_FALSE(Start());
    }
    ASSERT_TRUE(Run());
    EXPECT_EQ(SizeOf("a"), 1);
}
