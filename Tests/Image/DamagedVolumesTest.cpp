// File systems that were made to deceive, or have suffered: a refusal, and nothing worse.
#include "Image/FatFileSystem.h"
#include "Image/FileSystemVolume.h"
#include "Image/NtfsFileSystem.h"
#include "TestImage.h"

#include "Bitlocker/MemoryByteSource.h"

#include <cstring>
#include <random>

namespace vx {
namespace {

using Source = std::shared_ptr<const bitlocker::ByteSource>;

// Fails every read that touches a range.
class SourceWithHole final : public bitlocker::ByteSource {
public:
    SourceWithHole(std::string bytes, uint64_t begin, uint64_t end)
        : _bytes(std::move(bytes)), _begin(begin), _end(end)
    {
    }

    uint64_t size() const override { return _bytes.size(); }
    bitlocker::Error readAt(uint64_t offset, void *buffer, size_t count) const override
    {
        if (bitlocker::Error error = checkRange(_bytes.size(), offset, count))
            return error;
        if (offset < _end && offset + count > _begin)
            return {bitlocker::Status::SystemError, "bad sector", 5};
        std::memcpy(buffer, _bytes.data() + offset, count);
        return {};
    }

private:
    const std::string _bytes;
    const uint64_t _begin;
    const uint64_t _end;
};

Source SourceOf(const std::string &bytes)
{
    return std::make_shared<bitlocker::MemoryByteSource>(
        std::vector<uint8_t>(bytes.begin(), bytes.end()));
}

std::unique_ptr<OwnedVolume> VolumeOf(const Source &source, bool isNtfs)
{
    std::unique_ptr<FileSystem> fileSystem;
    const OpenError error = isNtfs ? NtfsFileSystem::Open(source, &fileSystem)
                                   : FatFileSystem::Open(source, &fileSystem);
    if (error)
        return nullptr;
    return std::make_unique<FileSystemVolume>(std::move(fileSystem));
}

// Lists and reads what can be, down to a depth.
void VisitAll(IVolume &volume, const std::u16string &folder, int depth)
{
    const auto entries = ListFolder(volume, folder + u"/*");
    if (!entries || depth == 0)
        return;
    for (const VolumeFindData &entry : *entries) {
        const std::u16string path = folder + u"/" + entry.name;
        VisitAll(volume, path, depth - 1);
        const VolumeHandle file = OpenForReading(volume, path);
        char bytes[5000];
        uint32_t done = 0;
        if (file != nullptr)
            volume.ReadFile(file, bytes, sizeof bytes, &done);
        volume.CloseHandle(file);
    }
}

std::string FatBytes(const TestTree &tree)
{
    const TestImage image{};
    EXPECT_TRUE(image.MakeFat(2, "-F 12 -s 1"));
    EXPECT_TRUE(image.FillFat(tree));
    return image.Folder().ReadFile("image");
}

class DamagedFat : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
    }
};

TEST_F(DamagedFat, ABadSectorInAFileFailsThatReadAndNothingElse)
{
    const std::string mark = "here is the bad sector";
    std::string contents = NoiseBytes(20000, 1);
    contents.replace(10240, mark.size(), mark);
    const std::string bytes = FatBytes({{"bad", contents}, {"good", "good"}});
    const size_t at = bytes.find(mark);
    ASSERT_NE(at, bytes.npos);
    const auto volume = VolumeOf(std::make_shared<SourceWithHole>(bytes, at, at + 512), false);
    ASSERT_TRUE(volume);
    const VolumeHandle file = OpenForReading(*volume, u"/bad");
    char part[512];
    uint32_t done = 0;
    ASSERT_TRUE(volume->ReadFile(file, part, sizeof part, &done));
    EXPECT_EQ(std::string(part, done), contents.substr(0, 512));
    uint32_t low = 10240;
    uint32_t high = 0;
    volume->SetFilePosition(file, &low, &high, 0);
    EXPECT_FALSE(volume->ReadFile(file, part, sizeof part, &done));
    low = 12288;
    volume->SetFilePosition(file, &low, &high, 0);
    ASSERT_TRUE(volume->ReadFile(file, part, sizeof part, &done));
    EXPECT_EQ(std::string(part, done), contents.substr(12288, 512));
    volume->CloseHandle(file);
    EXPECT_EQ(ReadWholeFile(*volume, u"/good"), "good");
}

TEST_F(DamagedFat, AFolderThatIsItsOwnParentIsRefused)
{
    std::string bytes = FatBytes({{"A/B/file", "x"}});
    // The entry of B, in the folder A, is made to lead to A.
    const size_t a = bytes.find("A          ");
    const size_t b = bytes.find("B          ");
    ASSERT_NE(a, bytes.npos);
    ASSERT_NE(b, bytes.npos);
    bytes[b + 26] = bytes[a + 26];
    bytes[b + 27] = bytes[a + 27];
    const auto volume = VolumeOf(SourceOf(bytes), false);
    ASSERT_TRUE(volume);
    EXPECT_EQ(SortedNames(*volume, u"/A/*"), std::vector<std::u16string>{u"B"});
    EXPECT_FALSE(ListFolder(*volume, u"/A/B/*"));
    EXPECT_FALSE(ListFolder(*volume, u"/A/B/B/*"));
    EXPECT_FALSE(Opens(*volume, u"/A/B/file"));
}

TEST_F(DamagedFat, AChainThatGoesInCirclesIsRefused)
{
    std::string bytes = FatBytes({{"FILE", NoiseBytes(4096, 1)}, {"other", "other"}});
    const size_t entry = bytes.find("FILE       ");
    ASSERT_NE(entry, bytes.npos);
    // A folder now, whose first cluster follows itself.
    const unsigned cluster = static_cast<uint8_t>(bytes[entry + 26]);
    bytes[entry + 11] = 0x10;
    const size_t at = 512 + cluster * 3 / 2;
    if (cluster % 2 == 0) {
        bytes[at] = static_cast<char>(cluster);
        bytes[at + 1] = static_cast<char>(bytes[at + 1] & 0xF0);
    } else {
        bytes[at] = static_cast<char>((bytes[at] & 0x0F) | (cluster & 0xF) << 4);
        bytes[at + 1] = static_cast<char>(cluster >> 4);
    }
    const auto volume = VolumeOf(SourceOf(bytes), false);
    ASSERT_TRUE(volume);
    EXPECT_FALSE(ListFolder(*volume, u"/FILE/*"));
    EXPECT_EQ(ReadWholeFile(*volume, u"/other"), "other");
}

TEST_F(DamagedFat, ASizeThatLiesDoesNotOpen)
{
    std::string bytes = FatBytes({{"FILE", "short"}});
    const size_t entry = bytes.find("FILE       ");
    ASSERT_NE(entry, bytes.npos);
    bytes.replace(entry + 28, 4, "\xFF\xFF\xFF\xFF");
    const auto volume = VolumeOf(SourceOf(bytes), false);
    ASSERT_TRUE(volume);
    EXPECT_FALSE(Opens(*volume, u"/FILE"));
}

// Changes some bytes, mostly where the tables are.
std::string Mutated(std::string bytes, unsigned seed, size_t tables)
{
    std::mt19937 random(seed);
    for (unsigned i = random() % 40 + 1; i > 0; --i) {
        const size_t end = random() % 4 == 0 ? bytes.size() : tables;
        bytes[random() % end] = static_cast<char>(random());
    }
    return bytes;
}

TEST_F(DamagedFat, BytesChangedAtRandomDoNoHarm)
{
    const std::string bytes = FatBytes({{"a long name.txt", NoiseBytes(3000, 1)},
                                        {"folder/deeper/file", "x"},
                                        {"folder/another long name", "y"}});
    for (unsigned seed = 0; seed < 300; ++seed) {
        const auto volume = VolumeOf(SourceOf(Mutated(bytes, seed, 20000)), false);
        if (volume)
            VisitAll(*volume, u"", 4);
    }
}

TEST_F(DamagedFat, AnImageCutAnywhereDoesNoHarm)
{
    const std::string bytes = FatBytes({{"folder/deeper/file", NoiseBytes(30000, 1)}});
    for (size_t size = 0; size < 60000; size += 499) {
        const auto volume = VolumeOf(SourceOf(bytes.substr(0, size)), false);
        if (volume)
            VisitAll(*volume, u"", 4);
    }
}

TEST(DamagedNtfs, BytesChangedAtRandomDoNoHarm)
{
    if (!CanMountNtfs())
        GTEST_SKIP() << "mkntfs, ntfs-3g or /dev/fuse is missing";
    const TestImage image{};
    ASSERT_TRUE(image.MakeNtfs(4, "-c 4096"));
    ASSERT_TRUE(image.RunInNtfs("mkdir a a/b; for i in $(seq 1 200); do echo $i > a/file$i; done; "
                                "seq 1 10000 > a/b/large"));
    const std::string bytes = image.Folder().ReadFile("image");
    for (unsigned seed = 0; seed < 300; ++seed) {
        const auto volume = VolumeOf(SourceOf(Mutated(bytes, seed, 700000)), true);
        if (volume)
            VisitAll(*volume, u"", 4);
    }
}

}  // namespace
}  // namespace vx
