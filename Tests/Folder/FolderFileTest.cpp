#include "FolderFile.h"
#include "VolumeReader.h"

#include <fcntl.h>
#include <limits>
#include <unistd.h>

namespace vx {
namespace {

constexpr uint32_t kFromStart = 0;
constexpr uint32_t kFromPosition = 1;

// One open file of the volume, closed with the object.
class OpenedFile {
public:
    OpenedFile(IVolume &volume, const std::u16string &path)
        : _volume(volume), _handle(OpenForReading(volume, path))
    {
        EXPECT_NE(_handle, nullptr);
    }
    ~OpenedFile() { _volume.CloseHandle(_handle); }
    OpenedFile(const OpenedFile &) = delete;
    OpenedFile &operator=(const OpenedFile &) = delete;

    VolumeHandle Handle() const { return _handle; }

    std::string Read(uint32_t count)
    {
        std::string bytes(count, '?');
        uint32_t done = 0xFFFFFFFF;
        EXPECT_TRUE(_volume.ReadFile(_handle, bytes.data(), count, &done));
        bytes.resize(done);
        return bytes;
    }

    // The position written back; the volume's result goes to moved.
    int64_t Move(int64_t distance, uint32_t origin, bool *moved = nullptr)
    {
        auto low = static_cast<uint32_t>(distance);
        auto high = static_cast<uint32_t>(static_cast<uint64_t>(distance) >> 32);
        const bool result = _volume.SetFilePosition(_handle, &low, &high, origin);
        if (moved != nullptr)
            *moved = result;
        return static_cast<int64_t>(static_cast<uint64_t>(high) << 32 | low);
    }

    void ExpectRefused(int64_t distance, uint32_t origin)
    {
        const int64_t before = Move(0, kFromPosition);
        bool moved = true;
        EXPECT_EQ(Move(distance, origin, &moved), before);
        EXPECT_FALSE(moved);
        EXPECT_EQ(Move(0, kFromPosition), before);
    }

private:
    IVolume &_volume;
    const VolumeHandle _handle;
};

using FolderFileTest = FolderVolumeTest;

TEST_F(FolderFileTest, AFileReadsFromItsStart)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile file(volume, u"/file");
    EXPECT_EQ(file.Read(4), "0123");
    EXPECT_EQ(file.Read(4), "4567");
}

TEST_F(FolderFileTest, AReadAtTheEndGivesWhatIsLeft)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile file(volume, u"/file");
    EXPECT_EQ(file.Read(16), "0123456789");
    EXPECT_EQ(file.Read(16), "");
}

TEST_F(FolderFileTest, AReadOfNothingSucceeds)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile file(volume, u"/file");
    uint32_t done = 7;
    EXPECT_TRUE(volume.ReadFile(file.Handle(), nullptr, 0, &done));
    EXPECT_EQ(done, 0u);
}

TEST_F(FolderFileTest, AFileOfSeveralChunksReadsInOnePiece)
{
    std::string contents;
    for (int i = 0; contents.size() < (5u << 20); ++i)
        contents += std::to_string(i) + ' ';
    folder.WriteFile("file", contents);
    OpenedFile file(volume, u"/file");
    EXPECT_TRUE(file.Read(static_cast<uint32_t>(contents.size())) == contents);
}

TEST_F(FolderFileTest, TheModesMakeNoDifference)
{
    folder.WriteFile("file", "same");
    const VolumeHandle opened = volume.OpenFile(u"/file", 0xFFFFFFFF, 0, 1);
    EXPECT_NE(opened, nullptr);
    volume.CloseHandle(opened);
}

TEST_F(FolderFileTest, TwoHandlesOfOneFileHavePositionsOfTheirOwn)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile first(volume, u"/file");
    OpenedFile second(volume, u"/file");
    EXPECT_EQ(first.Read(4), "0123");
    EXPECT_EQ(second.Read(2), "01");
    EXPECT_EQ(first.Read(2), "45");
}

TEST_F(FolderFileTest, APositionFromTheStartIsTakenAndWrittenBack)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile file(volume, u"/file");
    bool moved = false;
    EXPECT_EQ(file.Move(6, kFromStart, &moved), 6);
    EXPECT_TRUE(moved);
    EXPECT_EQ(file.Read(2), "67");
}

TEST_F(FolderFileTest, APositionFromThePositionIsAdded)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile file(volume, u"/file");
    file.Read(4);
    EXPECT_EQ(file.Move(3, kFromPosition), 7);
    EXPECT_EQ(file.Move(-5, kFromPosition), 2);
    EXPECT_EQ(file.Read(1), "2");
}

TEST_F(FolderFileTest, NoDistanceFromThePositionTellsThePosition)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile file(volume, u"/file");
    file.Read(3);
    EXPECT_EQ(file.Move(0, kFromPosition), 3);
}

TEST_F(FolderFileTest, APositionPastTheEndIsTakenAndReadsNothing)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile file(volume, u"/file");
    bool moved = false;
    EXPECT_EQ(file.Move(1000, kFromStart, &moved), 1000);
    EXPECT_TRUE(moved);
    EXPECT_EQ(file.Read(4), "");
}

TEST_F(FolderFileTest, ANegativePositionIsRefusedAndTheOldOneWrittenBack)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile file(volume, u"/file");
    file.Read(4);
    file.ExpectRefused(-1, kFromStart);
    file.ExpectRefused(-5, kFromPosition);
    file.ExpectRefused(std::numeric_limits<int64_t>::min(), kFromPosition);
}

TEST_F(FolderFileTest, APositionThatOverflowsIsRefused)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile file(volume, u"/file");
    file.Read(4);
    file.ExpectRefused(std::numeric_limits<int64_t>::max(), kFromPosition);
}

TEST_F(FolderFileTest, TheLastPositionOfAllReadsNothing)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile file(volume, u"/file");
    EXPECT_EQ(file.Move(std::numeric_limits<int64_t>::max(), kFromStart),
              std::numeric_limits<int64_t>::max());
    EXPECT_EQ(file.Read(4), "");
}

TEST_F(FolderFileTest, AnUnknownOriginIsRefused)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile file(volume, u"/file");
    file.Read(4);
    file.ExpectRefused(1, 2);
    file.ExpectRefused(1, 0xFFFFFFFF);
}

TEST_F(FolderFileTest, ThePositionsAndTheSizeOfAFileOf5GiBUseBothHalves)
{
    folder.MakeSparseFile("huge", (5LL << 30) + 3);
    OpenedFile file(volume, u"/huge");
    uint32_t low = 0;
    uint32_t high = 0;
    EXPECT_TRUE(volume.QueryFileSize(file.Handle(), &low, &high));
    EXPECT_EQ(high, 1u);
    EXPECT_EQ(low, (1u << 30) + 3);
    EXPECT_EQ(file.Move(5LL << 30, kFromStart), 5LL << 30);
    EXPECT_EQ(file.Read(8), std::string(3, '\0'));
    EXPECT_EQ(file.Move(0, kFromPosition), (5LL << 30) + 3);
}

TEST_F(FolderFileTest, TheSizeFollowsAFileThatGrows)
{
    folder.WriteFile("file", "0123");
    OpenedFile file(volume, u"/file");
    folder.WriteFile("file", "012345678");
    uint32_t low = 0;
    uint32_t high = 7;
    EXPECT_TRUE(volume.QueryFileSize(file.Handle(), &low, &high));
    EXPECT_EQ(low, 9u);
    EXPECT_EQ(high, 0u);
}

TEST_F(FolderFileTest, AFileThatIsNotThereDoesNotOpen)
{
    EXPECT_FALSE(Opens(volume, u"/missing"));
}

TEST_F(FolderFileTest, AFolderDoesNotOpenAsAFile)
{
    folder.MakeFolder("sub");
    EXPECT_FALSE(Opens(volume, u"/sub"));
    EXPECT_FALSE(Opens(volume, u"/"));
}

TEST_F(FolderFileTest, APathThatIsNotPlainDoesNotOpen)
{
    folder.WriteFile("sub/file", "x");
    for (const char16_t *path : {u"sub/file", u"/sub/./file", u"/sub/../sub/file", u"//sub/file",
                                 u"/sub//file", u"/sub/file/", u"/sub/file\xD800", u""})
        EXPECT_FALSE(Opens(volume, path));
    EXPECT_TRUE(Opens(volume, u"/sub/file"));
}

TEST_F(FolderFileTest, APathThatIsTooLongDoesNotOpen)
{
    EXPECT_FALSE(Opens(volume, u"/" + std::u16string(256, u'n')));
    EXPECT_FALSE(Opens(volume, u"/" + std::u16string(100000, u'n')));
}

TEST_F(FolderFileTest, WritingIsRefusedAndChangesNothing)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile file(volume, u"/file");
    uint32_t done = 7;
    EXPECT_FALSE(volume.WriteFile(file.Handle(), "xx", 2, &done));
    EXPECT_EQ(done, 0u);
    EXPECT_FALSE(volume.WriteFile(file.Handle(), "xx", 2, nullptr));
    EXPECT_EQ(folder.ReadFile("file"), "0123456789");
}

TEST_F(FolderFileTest, NullHandlesAreRefused)
{
    char byte = 0;
    uint32_t low = 7;
    uint32_t high = 7;
    EXPECT_FALSE(volume.ReadFile(nullptr, &byte, 1, &low));
    EXPECT_EQ(low, 0u);
    EXPECT_FALSE(volume.WriteFile(nullptr, &byte, 1, &low));
    EXPECT_FALSE(volume.SetFilePosition(nullptr, &low, &high, kFromStart));
    EXPECT_FALSE(volume.QueryFileSize(nullptr, &low, &high));
    EXPECT_FALSE(volume.CloseHandle(nullptr));
}

TEST_F(FolderFileTest, NullPointersAreRefused)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile file(volume, u"/file");
    char byte = 0;
    uint32_t half = 0;
    EXPECT_EQ(volume.OpenFile(nullptr, 128, 3, 25), nullptr);
    EXPECT_FALSE(volume.ReadFile(file.Handle(), nullptr, 1, &half));
    EXPECT_FALSE(volume.ReadFile(file.Handle(), &byte, 1, nullptr));
    EXPECT_FALSE(volume.SetFilePosition(file.Handle(), nullptr, &half, kFromStart));
    EXPECT_FALSE(volume.SetFilePosition(file.Handle(), &half, nullptr, kFromStart));
    EXPECT_FALSE(volume.QueryFileSize(file.Handle(), nullptr, &half));
    EXPECT_FALSE(volume.QueryFileSize(file.Handle(), &half, nullptr));
}

TEST_F(FolderFileTest, AReadThatTheDiskRefusesFailsWithNothingDone)
{
    FolderFile file(UniqueFd(open(folder.Path().c_str(), O_RDONLY | O_CLOEXEC)));
    char byte = 0;
    uint32_t done = 7;
    EXPECT_FALSE(file.Read(&byte, 1, &done));
    EXPECT_EQ(done, 0u);
}

// What a read leaves behind: its result, what it says was done, and the whole buffer.
struct Left {
    bool good;
    uint32_t done;
    std::string buffer;
};

Left ReadInto(IVolume &volume, VolumeHandle file, uint32_t count)
{
    Left left = {false, 0xFFFFFFFF, std::string(count, '?')};
    left.good = volume.ReadFile(file, left.buffer.data(), count, &left.done);
    return left;
}

std::vector<std::pair<uint64_t, uint64_t>> UnreadOf(OwnedVolume &volume, VolumeHandle file)
{
    std::vector<std::pair<uint64_t, uint64_t>> ranges;
    EXPECT_TRUE(volume.VisitUnreadRanges(
        file,
        [](void *context, uint64_t offset, uint64_t length) {
            static_cast<decltype(ranges) *>(context)->emplace_back(offset, length);
        },
        &ranges));
    return ranges;
}

using Unread = std::vector<std::pair<uint64_t, uint64_t>>;

TEST_F(FolderFileTest, BeyondTheEndTheBufferIsZeros)
{
    folder.WriteFile("file", "0123456789");
    OpenedFile file(volume, u"/file");
    const Left left = ReadInto(volume, file.Handle(), 16);
    EXPECT_TRUE(left.good);
    EXPECT_EQ(left.done, 10u);
    EXPECT_EQ(left.buffer, "0123456789" + std::string(6, '\0'));
    EXPECT_EQ(ReadInto(volume, file.Handle(), 3).buffer, std::string(3, '\0'));
    EXPECT_EQ(UnreadOf(*owned, file.Handle()), Unread());
}

TEST_F(FolderFileTest, WhatAFileLosesWhileItIsReadIsZerosAndUnread)
{
    folder.WriteFile("file", std::string(1000, 'a'));
    OpenedFile file(volume, u"/file");
    EXPECT_EQ(file.Read(300), std::string(300, 'a'));
    folder.WriteFile("file", std::string(400, 'b'));
    const Left left = ReadInto(volume, file.Handle(), 500);
    EXPECT_FALSE(left.good);
    EXPECT_EQ(left.done, 100u);
    EXPECT_EQ(left.buffer, std::string(100, 'b') + std::string(400, '\0'));
    EXPECT_EQ(file.Move(0, kFromPosition), 800);
    EXPECT_FALSE(ReadInto(volume, file.Handle(), 500).good);
    EXPECT_EQ(file.Move(0, kFromPosition), 1000);
    EXPECT_EQ(UnreadOf(*owned, file.Handle()), (Unread{{400, 600}}));
    EXPECT_TRUE(ReadInto(volume, file.Handle(), 1).good);
}

TEST_F(FolderFileTest, AReadWithoutAHandleLeavesZeros)
{
    const Left left = ReadInto(volume, nullptr, 5);
    EXPECT_FALSE(left.good);
    EXPECT_EQ(left.done, 0u);
    EXPECT_EQ(left.buffer, std::string(5, '\0'));
}

TEST_F(FolderFileTest, AFileThatCannotBeReadIsZerosAndUnread)
{
    FolderFile file(UniqueFd(open(folder.Path().c_str(), O_RDONLY | O_CLOEXEC)));
    const auto size = static_cast<uint32_t>(*file.Size());
    std::string buffer(size + 10, '?');
    uint32_t done = 7;
    EXPECT_FALSE(file.Read(buffer.data(), size + 10, &done));
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(buffer, std::string(size + 10, '\0'));
    EXPECT_EQ(file.Position(), size);
    ASSERT_EQ(file.UnreadRanges().size(), 1u);
    EXPECT_EQ(file.UnreadRanges()[0].length, size);
}

TEST_F(FolderFileTest, AFolderThatIsRemovedIsGone)
{
    folder.WriteFile("sub/file", "0123456789");
    const auto sub = OpenFolderVolume(folder.At("sub"));
    VolumeFindData record = {};
    const VolumeHandle file = OpenForReading(*sub, u"/file");
    const VolumeHandle search = sub->FindFirstFile(u"/*", &record);
    EXPECT_FALSE(Opens(*sub, u"/missing"));
    EXPECT_FALSE(sub->IsGone());
    ASSERT_EQ(unlink(folder.At("sub/file").c_str()), 0);
    ASSERT_EQ(rmdir(folder.At("sub").c_str()), 0);
    EXPECT_FALSE(Opens(*sub, u"/file"));
    EXPECT_TRUE(sub->IsGone());
    const Left left = ReadInto(*sub, file, 4);
    EXPECT_FALSE(left.good);
    EXPECT_EQ(left.buffer, std::string(4, '\0'));
    EXPECT_EQ(UnreadOf(*sub, file), (Unread{{0, 4}}));
    EXPECT_EQ(sub->FindFirstFile(u"/*", &record), nullptr);
    EXPECT_FALSE(sub->FindNextFile(search, &record));
    VolumeListingReport listing;
    EXPECT_TRUE(sub->DescribeListing(search, &listing));
    EXPECT_FALSE(listing.isWhole);
    EXPECT_EQ(listing.reason, VolumeObstacle::kDeviceGone);
    VolumeEntryReport entry;
    EXPECT_TRUE(sub->DescribeEntry(u"/file", &entry));
    EXPECT_EQ(entry.obstacle, VolumeObstacle::kDeviceGone);
    sub->CloseHandle(file);
    sub->FindClose(search);
}

TEST_F(FolderFileTest, ASizeThatTheSystemDoesNotTellIsNone)
{
    const FolderFile file{UniqueFd()};
    EXPECT_EQ(file.Size(), std::nullopt);
}

}  // namespace
}  // namespace vx
