// One file's copy, called on a thread of the test's own.
#import "ExportTest.h"

#import <objc/runtime.h>

#include <csignal>
#include <set>
#include <sys/resource.h>

namespace {

constexpr uint64_t kChunk = 4194304;
constexpr uint64_t kFew = 10;

// While it lives, no file of the process can grow beyond a size.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : _handler(signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &_before);
        rlimit limit = _before;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &_before);
        signal(SIGXFSZ, _handler);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit _before = {};
    void (*_handler)(int);
};

class CopyOneFile : public ExportTest {
protected:
    // An engine that has a delegate: an export of nothing but an empty file has gone before.
    void Prepare()
    {
        ScriptedEntry &first = Root().File(u"first");
        first.CatalogueSize(kTotal);
        Open();
        PlanEntries(@[ At({"first"}) ]);
        ASSERT_TRUE(Run());
        volume.ForgetCalls();
    }
    bool Copy(const std::string &name) { return CopyTo(name, folder.At(name)); }
    bool CopyTo(const std::string &name, const std::string &path)
    {
        return CopyEntry(At({name}), Text(path));
    }
    bool CopyEntry(Z5FindData *entry, NSString *path)
    {
        bool copied = false;
        OnWorker([&] { copied = [engine copyOneFile:entry withDest:path]; });
        return copied;
    }
    std::vector<uint32_t> Chunks() const
    {
        std::vector<uint32_t> counts;
        for (const vx::VolumeCall &call : volume.Calls(VolumeOperation::kReadFile))
            counts.push_back(call.count);
        return counts;
    }

    static constexpr uint64_t kTotal = 100 * kChunk;
};

using Counts = std::vector<uint32_t>;

}  // namespace

TEST_F(CopyOneFile, ANilArgumentIsAFailure)
{
    Root().File(u"a", kFew);
    Prepare();
    EXPECT_FALSE(CopyEntry(nil, Text(folder.At("a"))));
    EXPECT_FALSE(CopyEntry(At({"a"}), nil));
    EXPECT_TRUE(volume.Calls().empty());
    EXPECT_FALSE(Exists("a"));
}

TEST_F(CopyOneFile, AnEntryWithoutAVolumePathIsAFailure)
{
    Root().File(u"a", kFew);
    Prepare();
    Z5FindData *nameless = At({"a"});
    [nameless setStrFileName:nil];
    EXPECT_FALSE(CopyEntry(nameless, Text(folder.At("a"))));
    EXPECT_FALSE(Exists("a"));
}

TEST_F(CopyOneFile, AFileIsOpenedSoughtToItsStartSizedReadAndClosed)
{
    ScriptedEntry &entry = Root().File(u"a", kFew);
    Prepare();
    ASSERT_TRUE(Copy("a"));
    std::vector<VolumeOperation> operations;
    for (const vx::VolumeCall &call : volume.Calls())
        operations.push_back(call.operation);
    EXPECT_EQ(operations, (std::vector<VolumeOperation>{
                              VolumeOperation::kOpenFile, VolumeOperation::kSetFilePosition,
                              VolumeOperation::kQueryFileSize, VolumeOperation::kReadFile,
                              VolumeOperation::kCloseHandle}));
    EXPECT_EQ(volume.Calls(VolumeOperation::kSetFilePosition)[0].distance, 0);
    EXPECT_EQ(volume.Calls(VolumeOperation::kSetFilePosition)[0].origin, 0u);
    EXPECT_EQ(Exported("a"), entry.Read(0, kFew));
    EXPECT_EQ(volume.OpenHandles(), 0u);
    EXPECT_EQ(volume.HandlesClosedTwice(), 0u);
}

TEST_F(CopyOneFile, AFileOfExactly4194304BytesIsCopiedInOneChunk)
{
    ScriptedEntry &entry = Root().File(u"a", kChunk);
    Prepare();
    ASSERT_TRUE(Copy("a"));
    EXPECT_EQ(Chunks(), (Counts{4194304}));
    EXPECT_EQ([delegate percents], (std::vector<int>{1}));
    EXPECT_TRUE(Exported("a") == entry.Read(0, kChunk));
}

TEST_F(CopyOneFile, AFileOf4194305BytesIsCopiedInTwoChunksOf4194304And1Bytes)
{
    ScriptedEntry &entry = Root().File(u"a", kChunk + 1);
    Prepare();
    ASSERT_TRUE(Copy("a"));
    EXPECT_EQ(Chunks(), (Counts{4194304, 1}));
    EXPECT_EQ([delegate percents], (std::vector<int>{1, 1}));
    EXPECT_TRUE(Exported("a") == entry.Read(0, kChunk + 1));
}

TEST_F(CopyOneFile, ALargerFileTakesOneReportPerChunk)
{
    ScriptedEntry &entry = Root().File(u"a", 3 * kChunk + 5);
    Prepare();
    ASSERT_TRUE(Copy("a"));
    EXPECT_EQ(Chunks(), (Counts{4194304, 4194304, 4194304, 5}));
    EXPECT_EQ([delegate percents], (std::vector<int>{1, 2, 3, 3}));
    EXPECT_TRUE(Exported("a") == entry.Read(0, 3 * kChunk + 5));
}

TEST_F(CopyOneFile, EveryChunkOfEveryFileIsReadIntoTheSameBuffer)
{
    Root().File(u"a", 2 * kChunk);
    Root().File(u"b", kFew);
    Prepare();
    ASSERT_TRUE(Copy("a"));
    ASSERT_TRUE(Copy("b"));
    const auto reads = volume.Calls(VolumeOperation::kReadFile);
    ASSERT_EQ(reads.size(), 3u);
    EXPECT_EQ(reads[0].buffer, reads[1].buffer);
    EXPECT_EQ(reads[0].buffer, reads[2].buffer);
}

// Memory that was freed is used again in the end, however long a sanitizer keeps it back; buffers
// that were kept would all lie apart.
TEST_F(CopyOneFile, AnEngineThatIsReleasedFreesItsBuffer)
{
    constexpr size_t kEngines = 250;
    Root().File(u"a", kFew);
    Open();
    for (size_t i = 0; i < kEngines; ++i) {
        @autoreleasepool {
            [engine release];
            ASSERT_NE(Plan(), nil);
            object_setInstanceVariable(engine, "_uiDelegate", [delegate retain]);
            ASSERT_TRUE(Copy("a"));
        }
    }
    const auto reads = volume.Calls(VolumeOperation::kReadFile);
    ASSERT_EQ(reads.size(), kEngines);
    std::set<const void *> buffers;
    for (const vx::VolumeCall &read : reads)
        buffers.insert(read.buffer);
    EXPECT_LT(buffers.size(), kEngines);
}

TEST_F(CopyOneFile, AnEmptyFileIsCreatedEmptyAtItsDestinationAndProducesNoProgressReport)
{
    Root().File(u"a");
    Prepare();
    ASSERT_TRUE(Copy("a"));
    EXPECT_EQ(SizeOf("a"), 0);
    EXPECT_TRUE(Chunks().empty());
    EXPECT_TRUE([delegate percents].empty());
}

TEST_F(CopyOneFile, AnExistingLocalFileOfTheSameNameIsOverwrittenWithoutAsking)
{
    ScriptedEntry &entry = Root().File(u"a", kFew);
    folder.WriteFile("a", std::string(1000, 'o'));
    Prepare();
    ASSERT_TRUE(Copy("a"));
    EXPECT_EQ(Exported("a"), entry.Read(0, kFew));
}

TEST_F(CopyOneFile, TheVolumesOwnSizeIsCopiedNotTheCatalogues)
{
    Root().File(u"longer", kFew).CatalogueSize(3);
    Root().File(u"shorter", kFew).CatalogueSize(300);
    Prepare();
    ASSERT_TRUE(Copy("longer"));
    ASSERT_TRUE(Copy("shorter"));
    EXPECT_EQ(SizeOf("longer"), static_cast<long long>(kFew));
    EXPECT_EQ(SizeOf("shorter"), static_cast<long long>(kFew));
}

TEST_F(CopyOneFile, WhenTheSourceCannotBeOpenedThereIsNoLocalFile)
{
    Root().File(u"a", kFew);
    Prepare();
    volume.FromCall(VolumeOperation::kOpenFile, 1, Fault::kFail);
    EXPECT_FALSE(Copy("a"));
    EXPECT_FALSE(Exists("a"));
}

TEST_F(CopyOneFile, WhenTheLocalFileCannotBeCreatedTheSourceIsClosed)
{
    Root().File(u"a", kFew);
    Prepare();
    EXPECT_FALSE(CopyTo("a", folder.At("missing/a")));
    EXPECT_EQ(volume.Count(VolumeOperation::kOpenFile), 1u);
    EXPECT_EQ(volume.Count(VolumeOperation::kReadFile), 0u);
    EXPECT_EQ(volume.OpenHandles(), 0u);
    EXPECT_TRUE([delegate percents].empty());
}

TEST_F(CopyOneFile, AFolderInTheFilesPlaceIsAFailure)
{
    Root().File(u"a", kFew);
    folder.MakeFolder("a");
    Prepare();
    EXPECT_FALSE(Copy("a"));
}

TEST_F(CopyOneFile, AReadThatFailsWritesTheChunkAllTheSameWithWhatThePreviousOneLeft)
{
    ScriptedEntry &entry = Root().File(u"a", 2 * kChunk);
    Prepare();
    volume.AtCall(VolumeOperation::kReadFile, 2, Fault::kFail);
    ASSERT_TRUE(Copy("a"));
    const std::string chunk = entry.Read(0, kChunk);
    EXPECT_TRUE(Exported("a") == chunk + chunk);
    EXPECT_EQ([delegate percents], (std::vector<int>{1, 2}));
}

TEST_F(CopyOneFile, AFirstReadThatFailsWritesZeros)
{
    Root().File(u"a", kFew);
    Prepare();
    volume.AtCall(VolumeOperation::kReadFile, 1, Fault::kFail);
    ASSERT_TRUE(Copy("a"));
    EXPECT_EQ(Exported("a"), std::string(kFew, '\0'));
}

TEST_F(CopyOneFile, AReadThatReturnsFewerBytesIsIgnored)
{
    ScriptedEntry &entry = Root().File(u"a", 2 * kChunk);
    Prepare();
    volume.AtCall(VolumeOperation::kReadFile, 2, Fault::kShorten);
    ASSERT_TRUE(Copy("a"));
    const std::string expected =
        entry.Read(0, kChunk) + entry.Read(kChunk, kChunk / 2) + entry.Read(kChunk / 2, kChunk / 2);
    EXPECT_TRUE(Exported("a") == expected);
    EXPECT_EQ([delegate percents], (std::vector<int>{1, 2}));
}

TEST_F(CopyOneFile, AReadThatClaimsMoreThanItWasAskedForIsIgnored)
{
    ScriptedEntry &entry = Root().File(u"a", kFew);
    Prepare();
    volume.AtCall(VolumeOperation::kReadFile, 1, Fault::kLie);
    ASSERT_TRUE(Copy("a"));
    EXPECT_EQ(Exported("a"), entry.Read(0, kFew));
}

TEST_F(CopyOneFile, AWriteThatFailsIsIgnoredAndCountedAsCopied)
{
    Root().File(u"a", 3 * kChunk);
    Prepare();
    bool copied = false;
    {
        const FileSizeLimit limit(kChunk);
        copied = Copy("a");
    }
    EXPECT_TRUE(copied);
    EXPECT_EQ(Chunks().size(), 3u);
    EXPECT_EQ([delegate percents], (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(SizeOf("a"), static_cast<long long>(kChunk));
}

TEST_F(CopyOneFile, ASeekThatFailsIsIgnored)
{
    ScriptedEntry &entry = Root().File(u"a", kFew);
    Prepare();
    volume.FromCall(VolumeOperation::kSetFilePosition, 1, Fault::kFail);
    ASSERT_TRUE(Copy("a"));
    EXPECT_EQ(Exported("a"), entry.Read(0, kFew));
}

TEST_F(CopyOneFile, ASizeThatCannotBeQueriedLeavesAnEmptyFile)
{
    Root().File(u"a", kFew);
    Prepare();
    volume.FromCall(VolumeOperation::kQueryFileSize, 1, Fault::kFail);
    ASSERT_TRUE(Copy("a"));
    EXPECT_EQ(SizeOf("a"), 0);
}

TEST_F(CopyOneFile, ContinuedIsAskedBeforeEveryChunk)
{
    Root().File(u"a", 2 * kChunk);
    Prepare();
    const std::string before = [delegate operations];
    ASSERT_TRUE(Copy("a"));
    EXPECT_EQ([delegate operations],
              before + " Continued UpdateProgress: Continued UpdateProgress:");
}

TEST_F(CopyOneFile, ACancelledCopyStillReturnsTrueAndKeepsThePartialFile)
{
    ScriptedEntry &entry = Root().File(u"a", 3 * kChunk);
    Prepare();
    [delegate cancelAfter:2];
    EXPECT_TRUE(Copy("a"));
    EXPECT_TRUE(Exported("a") == entry.Read(0, 2 * kChunk));
    EXPECT_EQ(volume.OpenHandles(), 0u);
}

TEST_F(CopyOneFile, TheCopyHasTheProcesssDefaultPermissionsAndTheCurrentTime)
{
    Root().File(u"a", kFew).Attributes(0x21).Modified(vx::kScriptedTime);
    Prepare();
    const mode_t mask = umask(027);
    const time_t before = time(nullptr);
    ASSERT_TRUE(Copy("a"));
    umask(mask);
    struct stat status = {};
    ASSERT_EQ(stat(folder.At("a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_GE(status.st_mtime, before - 1);
}

TEST_F(CopyOneFile, TheLocalPathIsUtf8)
{
    ScriptedEntry &entry = Root().File(u"a", kFew);
    Prepare();
    ASSERT_TRUE(CopyTo("a", folder.At("報告 😀.txt")));
    EXPECT_EQ(Exported("報告 😀.txt"), entry.Read(0, kFew));
}
