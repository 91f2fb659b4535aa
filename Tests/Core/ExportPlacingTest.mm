// A sink that places the files itself and hears how each one ended; and the engine on a plain
// folder that is its own destination.
#import "ExportTest.h"

#import "ExportPlacing.h"

#include <objc/runtime.h>

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

// Places every file in one folder, under the name and a suffix.
@interface PlacingDelegate : RecordingDelegate <ExportPlacing> {
@public
    std::string _folder;
    std::string _withoutFolder;  // the name of an entry
    std::string _withoutFile;
    std::vector<std::string> _ends;
    std::vector<ExportOutcome> _outcomes;
}
@end

@implementation PlacingDelegate

- (BOOL)makeFolderFor:(Z5FindData *)entry
{
    return Utf8([entry strFileName]) != _withoutFolder;
}

- (FILE *)openFileFor:(Z5FindData *)entry
{
    const std::string name = Utf8([entry strFileName]);
    return name == _withoutFile ? nullptr : fopen((_folder + "/" + name + ".placed").c_str(), "w");
}

- (void)entry:(Z5FindData *)entry endedWith:(const ExportOutcome &)outcome
{
    _ends.push_back(Utf8([entry strFileName]));
    _outcomes.push_back(outcome);
}

@end

namespace {

using Strings = std::vector<std::string>;

constexpr uint64_t kChunk = 4194304;

class ExportPlacing : public ExportTest {
protected:
    ExportPlacing() { placing->_folder = folder.Path(); }
    void TearDown() override
    {
        [placing release];
        ExportTest::TearDown();
    }

    bool RunPlacing()
    {
        if (engine == nil)
            Plan();
        [engine copyTo:Text(folder.At("unused")) withDelegate:placing];
        return Finish();
    }
    std::vector<ExportEnd> EndsSeen() const
    {
        std::vector<ExportEnd> all;
        for (const ExportOutcome &outcome : placing->_outcomes)
            all.push_back(outcome.end);
        return all;
    }

    PlacingDelegate *placing = [[PlacingDelegate alloc] init];
};

using Ends = std::vector<ExportEnd>;

}  // namespace

TEST_F(ExportPlacing, TheSinkOpensTheFilesAndTheEngineMakesNothingItself)
{
    ScriptedEntry &entry = Root().Folder(u"f").File(u"a", 2 * kChunk);
    ASSERT_TRUE(RunPlacing());
    EXPECT_TRUE(Exported("a.placed") == entry.Read(0, 2 * kChunk));
    EXPECT_FALSE(Exists("unused"));
    EXPECT_EQ(EndsSeen(), (Ends{ExportEnd::kCopied}));
    EXPECT_EQ(placing->_outcomes[0].size, int64_t(2 * kChunk));
    EXPECT_EQ(placing->_outcomes[0].copied, int64_t(2 * kChunk));
}

TEST_F(ExportPlacing, EveryEntryHasItsEndInTheOrderOfThePlan)
{
    for (const char16_t *name : {u"good", u"no folder", u"no file", u"no source", u".."})
        Root().File(name, 1);
    placing->_withoutFolder = "no folder";
    placing->_withoutFile = "no file";
    volume.AtCall(VolumeOperation::kOpenFile, 3, Fault::kFail);
    ASSERT_TRUE(RunPlacing());
    EXPECT_EQ(placing->_ends, (Strings{"good", "no folder", "no file", "no source", ".."}));
    EXPECT_EQ(EndsSeen(), (Ends{ExportEnd::kCopied, ExportEnd::kNoFolder, ExportEnd::kNoLocalFile,
                                ExportEnd::kNotOpened, ExportEnd::kLeavesDestination}));
}

TEST_F(ExportPlacing, TheSinkHearsWhatItWouldHearWithoutPlacing)
{
    Root().File(u"a", kChunk + 1);
    ASSERT_TRUE(RunPlacing());
    EXPECT_EQ([placing operations], "Continued UpdateInformation: UpdateTotalSize: GetState"
                                    " Continued UpdateProgress: Continued UpdateProgress:");
}

TEST_F(ExportPlacing, AStopInsideAFileIsItsEndAndWhatFollowsHasNone)
{
    Root().File(u"a", 3 * kChunk);
    Root().File(u"b", 1);
    [placing cancelAfter:2];
    ASSERT_TRUE(RunPlacing());
    EXPECT_EQ(EndsSeen(), (Ends{ExportEnd::kStopped}));
    EXPECT_EQ(placing->_outcomes[0].copied, int64_t(kChunk));
}

TEST_F(ExportPlacing, AWriteThatFailsEndsTheFileWithItsErrorAndTheNextOneFollows)
{
    Root().File(u"a", 3 * kChunk);
    Root().File(u"b", 1);
    void (*handler)(int) = signal(SIGXFSZ, SIG_IGN);
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit limit = before;
    limit.rlim_cur = kChunk;
    setrlimit(RLIMIT_FSIZE, &limit);
    const bool ran = RunPlacing();
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);
    ASSERT_TRUE(ran);
    EXPECT_EQ(EndsSeen(), (Ends{ExportEnd::kNotWritten, ExportEnd::kCopied}));
    EXPECT_EQ(placing->_outcomes[0].error, EFBIG);
    EXPECT_EQ(placing->_outcomes[0].copied, int64_t(kChunk));
    EXPECT_EQ(volume.Count(VolumeOperation::kReadFile), 3u) << "the rest was read for nothing";
}

TEST_F(ExportPlacing, ASinkWithoutThePlacingGetsTheEnginesOwn)
{
    Root().Folder(u"f").File(u"a", 1);
    ASSERT_TRUE(Run());
    EXPECT_EQ(SizeOf("f/a"), 1);
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

TEST_F(ExportPlacing, AThreadThatCannotBeMadeIsAFailureOfTheStart)
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

namespace {

// A volume that is a plain folder with two files: it is open in this process, as its files are
// while they are read.
class FolderOfFiles final : public IVolume {
public:
    explicit FolderOfFiles(std::string path)
        : _path(std::move(path)), _folder(open(_path.c_str(), O_RDONLY | O_DIRECTORY))
    {
    }
    ~FolderOfFiles() { close(_folder); }
    FolderOfFiles(const FolderOfFiles &) = delete;
    FolderOfFiles &operator=(const FolderOfFiles &) = delete;

    VolumeHandle FindFirstFile(const char16_t *pattern, VolumeFindData *record) override
    {
        const bool isRoot = std::u16string(pattern) == u"/*";
        *record = isRoot ? RecordOf(u"volume", kVolumeAttributeDirectory) : RecordOf(u"a");
        _next = isRoot ? 0 : 1;
        return this;
    }
    bool FindNextFile(VolumeHandle, VolumeFindData *record) override
    {
        *record = RecordOf(u"a");
        return _next++ == 0;
    }
    bool FindClose(VolumeHandle) override { return true; }
    VolumeHandle OpenFile(const char16_t *path, uint32_t, uint32_t, uint32_t) override
    {
        const std::u16string units(path);
        return fopen((_path + std::string(units.begin(), units.end())).c_str(), "r");
    }
    bool ReadFile(VolumeHandle file, void *buffer, uint32_t count, uint32_t *done) override
    {
        *done = static_cast<uint32_t>(fread(buffer, 1, count, static_cast<FILE *>(file)));
        return *done == count;
    }
    bool WriteFile(VolumeHandle, const void *, uint32_t, uint32_t *) override { return false; }
    bool SetFilePosition(VolumeHandle, uint32_t *, uint32_t *, uint32_t) override { return true; }
    bool QueryFileSize(VolumeHandle file, uint32_t *low, uint32_t *high) override
    {
        struct stat found = {};
        fstat(fileno(static_cast<FILE *>(file)), &found);
        *low = static_cast<uint32_t>(found.st_size);
        *high = 0;
        return true;
    }
    bool CloseHandle(VolumeHandle file) override { return fclose(static_cast<FILE *>(file)) == 0; }

private:
    const std::string _path;
    const int _folder;
    int _next = 0;
};

class OwnFolder : public ExportTest {
protected:
    OwnFolder()
    {
        folder.WriteFile("volume/a", "precious");
        folder.WriteFile("volume/volume/a", "another");
    }
    bool RunInto(const std::string &name)
    {
        explorer = [[Z5FileExplorerWapper alloc] initWithVolumeObject:&own];
        PlanEntries([explorer rootDirectory]);
        [engine copyTo:Text(folder.At(name)) withDelegate:delegate];
        return Finish();
    }

    FolderOfFiles own{folder.MakeFolder("volume")};
};

}  // namespace

TEST_F(OwnFolder, AVolumesOwnFolderAsDestinationKeepsEveryFile)
{
    ASSERT_TRUE(RunInto("volume"));
    EXPECT_EQ(Exported("volume/a"), "precious");
    EXPECT_EQ(Exported("volume/volume/a"), "another");
}

TEST_F(OwnFolder, TheFolderThatHoldsTheVolumeAsDestinationKeepsEveryFile)
{
    ASSERT_TRUE(RunInto("."));
    EXPECT_EQ(Exported("volume/a"), "precious");
    EXPECT_EQ(Exported("volume/volume/a"), "another");
    EXPECT_EQ(Exported("a"), "precious");
}

TEST_F(OwnFolder, ALinkedFolderThatLeadsToOtherFilesOfTheVolumeKeepsThem)
{
    folder.MakeFolder("to");
    folder.MakeLink("to/volume", folder.At("volume"));
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Exported("volume/a"), "precious");
    EXPECT_EQ(Exported("volume/volume/a"), "another");
}

TEST_F(OwnFolder, ADestinationInTheVolumesFolderIsWrittenAndOverwritten)
{
    folder.WriteFile("volume/out/a", "old");
    ASSERT_TRUE(RunInto("volume/out"));
    EXPECT_EQ(Exported("volume/out/a"), "precious");
    EXPECT_EQ(Exported("volume/out/volume/a"), "another");
}

TEST_F(OwnFolder, ALinkInTheDestinationThatLeadsBackToTheSourceKeepsTheSource)
{
    folder.MakeLink("to/a", folder.At("volume/a"));
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Exported("volume/a"), "precious");
    EXPECT_EQ(Exported("to/a"), "precious");
}

TEST_F(OwnFolder, AHardLinkInTheDestinationThatIsTheSourceKeepsTheSource)
{
    folder.MakeFolder("to");
    ASSERT_EQ(link(folder.At("volume/a").c_str(), folder.At("to/a").c_str()), 0);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Exported("volume/a"), "precious");
}

TEST_F(OwnFolder, AFifoInTheDestinationDoesNotHangTheExport)
{
    folder.MakeFolder("to");
    ASSERT_EQ(mkfifo(folder.At("to/a").c_str(), 0600), 0);
    ASSERT_TRUE(RunInto("to"));
    EXPECT_EQ(Exported("to/volume/a"), "another");
}
