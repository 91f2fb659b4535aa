// File systems that were made to deceive, or have suffered: a refusal, and nothing worse.
#include "OpenSource.h"
#include "TestImage.h"

#include <random>

namespace vx {
namespace {

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
    const auto volume = FatVolumeOf(SourceOf(bytes));
    ASSERT_TRUE(volume);
    EXPECT_EQ(SortedNames(*volume, u"/A/*"), std::vector<std::u16string>{u"B"});
    EXPECT_FALSE(ListFolder(*volume, u"/A/B/*"));
    EXPECT_FALSE(ListFolder(*volume, u"/A/B/B/*"));
    EXPECT_FALSE(Opens(*volume, u"/A/B/file"));
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
        const auto volume = FatVolumeOf(SourceOf(Mutated(bytes, seed, 20000)));
        if (volume)
            VisitAll(*volume, u"", 4);
    }
}

TEST_F(DamagedFat, AnImageCutAnywhereDoesNoHarm)
{
    const std::string bytes = FatBytes({{"folder/deeper/file", NoiseBytes(30000, 1)}});
    for (size_t size = 0; size < 60000; size += 499) {
        const auto volume = FatVolumeOf(SourceOf(bytes.substr(0, size)));
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
        const auto volume = NtfsVolumeOf(SourceOf(Mutated(bytes, seed, 700000)));
        if (volume)
            VisitAll(*volume, u"", 4);
    }
}

}  // namespace
}  // namespace vx
