// The engine on a plain folder that is its own destination.
#import "ExportTest.h"

#include <fcntl.h>
#include <unistd.h>

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
