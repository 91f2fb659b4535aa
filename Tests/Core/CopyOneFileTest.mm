// One file's copy, called on the test's own thread.
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
    void prepare()
    {
        ScriptedEntry &first = root().file(u"first");
        first.catalogueSize(kTotal);
        open();
        planEntries(@[ at({"first"}) ]);
        ASSERT_TRUE(run());
        volume.forgetCalls();
    }
    bool copy(const std::string &name) { return copyTo(name, folder.At(name)); }
    bool copyTo(const std::string &name, const std::string &path)
    {
        return [engine copyOneFile:at({name}) withDest:Text(path)];
    }
    std::vector<uint32_t> chunks() const
    {
        std::vector<uint32_t> counts;
        for (const vx::VolumeCall &call : volume.calls(VolumeOperation::ReadFile))
            counts.push_back(call.count);
        return counts;
    }

    static constexpr uint64_t kTotal = 100 * kChunk;
};

using Counts = std::vector<uint32_t>;

}  // namespace

TEST_F(CopyOneFile, ANilArgumentIsAFailure)
{
    root().file(u"a", kFew);
    prepare();
    EXPECT_FALSE([engine copyOneFile:nil withDest:Text(folder.At("a"))]);
    EXPECT_FALSE([engine copyOneFile:at({"a"}) withDest:nil]);
    EXPECT_TRUE(volume.calls().empty());
    EXPECT_FALSE(exists("a"));
}

TEST_F(CopyOneFile, AnEntryWithoutAVolumePathIsAFailure)
{
    root().file(u"a", kFew);
    prepare();
    Z5FindData *nameless = at({"a"});
    [nameless setStrFileName:nil];
    EXPECT_FALSE([engine copyOneFile:nameless withDest:Text(folder.At("a"))]);
    EXPECT_FALSE(exists("a"));
}

TEST_F(CopyOneFile, AFileIsOpenedSoughtToItsStartSizedReadAndClosed)
{
    ScriptedEntry &entry = root().file(u"a", kFew);
    prepare();
    ASSERT_TRUE(copy("a"));
    std::vector<VolumeOperation> operations;
    for (const vx::VolumeCall &call : volume.calls())
        operations.push_back(call.operation);
    EXPECT_EQ(operations, (std::vector<VolumeOperation>{
                              VolumeOperation::OpenFile, VolumeOperation::SetFilePosition,
                              VolumeOperation::QueryFileSize, VolumeOperation::ReadFile,
                              VolumeOperation::CloseHandle}));
    EXPECT_EQ(volume.calls(VolumeOperation::SetFilePosition)[0].distance, 0);
    EXPECT_EQ(volume.calls(VolumeOperation::SetFilePosition)[0].origin, 0u);
    EXPECT_EQ(exported("a"), entry.read(0, kFew));
    EXPECT_EQ(volume.openHandles(), 0u);
    EXPECT_EQ(volume.handlesClosedTwice(), 0u);
}

TEST_F(CopyOneFile, AFileOfExactly4194304BytesIsCopiedInOneChunk)
{
    ScriptedEntry &entry = root().file(u"a", kChunk);
    prepare();
    ASSERT_TRUE(copy("a"));
    EXPECT_EQ(chunks(), (Counts{4194304}));
    EXPECT_EQ([delegate percents], (std::vector<int>{1}));
    EXPECT_TRUE(exported("a") == entry.read(0, kChunk));
}

TEST_F(CopyOneFile, AFileOf4194305BytesIsCopiedInTwoChunksOf4194304And1Bytes)
{
    ScriptedEntry &entry = root().file(u"a", kChunk + 1);
    prepare();
    ASSERT_TRUE(copy("a"));
    EXPECT_EQ(chunks(), (Counts{4194304, 1}));
    EXPECT_EQ([delegate percents], (std::vector<int>{1, 1}));
    EXPECT_TRUE(exported("a") == entry.read(0, kChunk + 1));
}

TEST_F(CopyOneFile, ALargerFileTakesOneReportPerChunk)
{
    ScriptedEntry &entry = root().file(u"a", 3 * kChunk + 5);
    prepare();
    ASSERT_TRUE(copy("a"));
    EXPECT_EQ(chunks(), (Counts{4194304, 4194304, 4194304, 5}));
    EXPECT_EQ([delegate percents], (std::vector<int>{1, 2, 3, 3}));
    EXPECT_TRUE(exported("a") == entry.read(0, 3 * kChunk + 5));
}

TEST_F(CopyOneFile, EveryChunkOfEveryFileIsReadIntoTheSameBuffer)
{
    root().file(u"a", 2 * kChunk);
    root().file(u"b", kFew);
    prepare();
    ASSERT_TRUE(copy("a"));
    ASSERT_TRUE(copy("b"));
    const auto reads = volume.calls(VolumeOperation::ReadFile);
    ASSERT_EQ(reads.size(), 3u);
    EXPECT_EQ(reads[0].buffer, reads[1].buffer);
    EXPECT_EQ(reads[0].buffer, reads[2].buffer);
}

// Memory that was freed is used again in the end, however long a sanitizer keeps it back; buffers
// that were kept would all lie apart.
TEST_F(CopyOneFile, AnEngineThatIsReleasedFreesItsBuffer)
{
    constexpr size_t kEngines = 250;
    root().file(u"a", kFew);
    open();
    for (size_t i = 0; i < kEngines; ++i) {
        @autoreleasepool {
            [engine release];
            ASSERT_NE(plan(), nil);
            object_setInstanceVariable(engine, "_uiDelegate", [delegate retain]);
            ASSERT_TRUE(copy("a"));
        }
    }
    const auto reads = volume.calls(VolumeOperation::ReadFile);
    ASSERT_EQ(reads.size(), kEngines);
    std::set<const void *> buffers;
    for (const vx::VolumeCall &read : reads)
        buffers.insert(read.buffer);
    EXPECT_LT(buffers.size(), kEngines);
}

TEST_F(CopyOneFile, AnEmptyFileIsCreatedEmptyAtItsDestinationAndProducesNoProgressReport)
{
    root().file(u"a");
    prepare();
    ASSERT_TRUE(copy("a"));
    EXPECT_EQ(sizeOf("a"), 0);
    EXPECT_TRUE(chunks().empty());
    EXPECT_TRUE([delegate percents].empty());
}

TEST_F(CopyOneFile, AnExistingLocalFileOfTheSameNameIsOverwrittenWithoutAsking)
{
    ScriptedEntry &entry = root().file(u"a", kFew);
    folder.WriteFile("a", std::string(1000, 'o'));
    prepare();
    ASSERT_TRUE(copy("a"));
    EXPECT_EQ(exported("a"), entry.read(0, kFew));
}

TEST_F(CopyOneFile, TheVolumesOwnSizeIsCopiedNotTheCatalogues)
{
    root().file(u"longer", kFew).catalogueSize(3);
    root().file(u"shorter", kFew).catalogueSize(300);
    prepare();
    ASSERT_TRUE(copy("longer"));
    ASSERT_TRUE(copy("shorter"));
    EXPECT_EQ(sizeOf("longer"), static_cast<long long>(kFew));
    EXPECT_EQ(sizeOf("shorter"), static_cast<long long>(kFew));
}

TEST_F(CopyOneFile, WhenTheSourceCannotBeOpenedThereIsNoLocalFile)
{
    root().file(u"a", kFew);
    prepare();
    volume.fromCall(VolumeOperation::OpenFile, 1, Fault::Fail);
    EXPECT_FALSE(copy("a"));
    EXPECT_FALSE(exists("a"));
}

TEST_F(CopyOneFile, WhenTheLocalFileCannotBeCreatedTheSourceIsClosed)
{
    root().file(u"a", kFew);
    prepare();
    EXPECT_FALSE(copyTo("a", folder.At("missing/a")));
    EXPECT_EQ(volume.count(VolumeOperation::OpenFile), 1u);
    EXPECT_EQ(volume.count(VolumeOperation::ReadFile), 0u);
    EXPECT_EQ(volume.openHandles(), 0u);
    EXPECT_TRUE([delegate percents].empty());
}

TEST_F(CopyOneFile, AFolderInTheFilesPlaceIsAFailure)
{
    root().file(u"a", kFew);
    folder.MakeFolder("a");
    prepare();
    EXPECT_FALSE(copy("a"));
}

TEST_F(CopyOneFile, AReadThatFailsWritesTheChunkAllTheSameWithWhatThePreviousOneLeft)
{
    ScriptedEntry &entry = root().file(u"a", 2 * kChunk);
    prepare();
    volume.atCall(VolumeOperation::ReadFile, 2, Fault::Fail);
    ASSERT_TRUE(copy("a"));
    const std::string chunk = entry.read(0, kChunk);
    EXPECT_TRUE(exported("a") == chunk + chunk);
    EXPECT_EQ([delegate percents], (std::vector<int>{1, 2}));
}

TEST_F(CopyOneFile, AFirstReadThatFailsWritesZeros)
{
    root().file(u"a", kFew);
    prepare();
    volume.atCall(VolumeOperation::ReadFile, 1, Fault::Fail);
    ASSERT_TRUE(copy("a"));
    EXPECT_EQ(exported("a"), std::string(kFew, '\0'));
}

TEST_F(CopyOneFile, AReadThatReturnsFewerBytesIsIgnored)
{
    ScriptedEntry &entry = root().file(u"a", 2 * kChunk);
    prepare();
    volume.atCall(VolumeOperation::ReadFile, 2, Fault::Shorten);
    ASSERT_TRUE(copy("a"));
    const std::string expected =
        entry.read(0, kChunk) + entry.read(kChunk, kChunk / 2) + entry.read(kChunk / 2, kChunk / 2);
    EXPECT_TRUE(exported("a") == expected);
    EXPECT_EQ([delegate percents], (std::vector<int>{1, 2}));
}

TEST_F(CopyOneFile, AReadThatClaimsMoreThanItWasAskedForIsIgnored)
{
    ScriptedEntry &entry = root().file(u"a", kFew);
    prepare();
    volume.atCall(VolumeOperation::ReadFile, 1, Fault::Lie);
    ASSERT_TRUE(copy("a"));
    EXPECT_EQ(exported("a"), entry.read(0, kFew));
}

TEST_F(CopyOneFile, AWriteThatFailsIsIgnoredAndCountedAsCopied)
{
    root().file(u"a", 3 * kChunk);
    prepare();
    bool copied = false;
    {
        const FileSizeLimit limit(kChunk);
        copied = copy("a");
    }
    EXPECT_TRUE(copied);
    EXPECT_EQ(chunks().size(), 3u);
    EXPECT_EQ([delegate percents], (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(sizeOf("a"), static_cast<long long>(kChunk));
}

TEST_F(CopyOneFile, ASeekThatFailsIsIgnored)
{
    ScriptedEntry &entry = root().file(u"a", kFew);
    prepare();
    volume.fromCall(VolumeOperation::SetFilePosition, 1, Fault::Fail);
    ASSERT_TRUE(copy("a"));
    EXPECT_EQ(exported("a"), entry.read(0, kFew));
}

TEST_F(CopyOneFile, ASizeThatCannotBeQueriedLeavesAnEmptyFile)
{
    root().file(u"a", kFew);
    prepare();
    volume.fromCall(VolumeOperation::QueryFileSize, 1, Fault::Fail);
    ASSERT_TRUE(copy("a"));
    EXPECT_EQ(sizeOf("a"), 0);
}

TEST_F(CopyOneFile, ContinuedIsAskedBeforeEveryChunk)
{
    root().file(u"a", 2 * kChunk);
    prepare();
    const std::string before = [delegate operations];
    ASSERT_TRUE(copy("a"));
    EXPECT_EQ([delegate operations],
              before + " Continued UpdateProgress: Continued UpdateProgress:");
}

TEST_F(CopyOneFile, ACancelledCopyStillReturnsTrueAndKeepsThePartialFile)
{
    ScriptedEntry &entry = root().file(u"a", 3 * kChunk);
    prepare();
    [delegate cancelAfter:2];
    EXPECT_TRUE(copy("a"));
    EXPECT_TRUE(exported("a") == entry.read(0, 2 * kChunk));
    EXPECT_EQ(volume.openHandles(), 0u);
}

TEST_F(CopyOneFile, TheCopyHasTheProcesssDefaultPermissionsAndTheCurrentTime)
{
    root().file(u"a", kFew).attributes(0x21).modified(vx::kScriptedTime);
    prepare();
    const mode_t mask = umask(027);
    const time_t before = time(nullptr);
    ASSERT_TRUE(copy("a"));
    umask(mask);
    struct stat status = {};
    ASSERT_EQ(stat(folder.At("a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_GE(status.st_mtime, before - 1);
}

TEST_F(CopyOneFile, TheLocalPathIsUtf8)
{
    ScriptedEntry &entry = root().file(u"a", kFew);
    prepare();
    ASSERT_TRUE(copyTo("a", folder.At("報告 😀.txt")));
    EXPECT_EQ(exported("報告 😀.txt"), entry.read(0, kFew));
}
