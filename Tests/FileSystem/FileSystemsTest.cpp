// Each file system shows the tree that was put into it, plain and encrypted.
#include "TestImage.h"

namespace vx {
namespace {

constexpr const char *kEncryption = "--method xts128 --password correct --recovery "
                                    "000011-000022-000033-000044-000055-000066-000077-000088";

void ExpectTree(const TestImage &image, const TestTree &tree)
{
    const Opened opened = OpenImage(image.Path());
    ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
    ExpectSameTree(ReadTree(*opened.volume), tree);
}

void ExpectTreeWhenEncrypted(const TestImage &image, const TestTree &tree)
{
    ASSERT_TRUE(image.Encrypt(kEncryption));
    const Opened opened = OpenImage(image.Path(), "password", "correct");
    ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
    ExpectSameTree(ReadTree(*opened.volume), tree);
}

struct FatKind {
    const char *name;
    int mebibytes;
    const char *options;

    friend void PrintTo(const FatKind &kind, std::ostream *out)
    {
        *out << kind.mebibytes << " MiB made with " << kind.options;
    }
};

class EachFat : public testing::TestWithParam<FatKind> {};

TEST_P(EachFat, ShowsItsTreePlainAndEncrypted)
{
    VX_NEEDS("mkfs.fat");
    VX_NEEDS("mcopy");
    const TestImage image{};
    const TestTree tree = SampleTree();
    ASSERT_TRUE(image.MakeFat(GetParam().mebibytes, GetParam().options));
    ASSERT_TRUE(image.FillFat(tree));
    ExpectTree(image, tree);
    ExpectTreeWhenEncrypted(image, tree);
}

INSTANTIATE_TEST_SUITE_P(FileSystems, EachFat,
                         testing::Values(FatKind{"Fat12", 8, "-F 12 -s 8"},
                                         FatKind{"Fat16", 32, "-F 16 -s 4"},
                                         FatKind{"Fat32", 64, "-F 32 -s 1"},
                                         FatKind{"Fat32OfLargeSectors", 300, "-F 32 -S 4096"}),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST(FileSystems, NtfsShowsItsTreePlainAndEncrypted)
{
    if (!CanMountNtfs())
        GTEST_SKIP() << "mkntfs, ntfs-3g or /dev/fuse is missing";
    const TestImage image{};
    const TestTree tree = SampleTree();
    ASSERT_TRUE(image.MakeNtfs(16));
    ASSERT_TRUE(image.FillNtfs(tree));
    ExpectTree(image, tree);
    ExpectTreeWhenEncrypted(image, tree);
}

TEST(FileSystems, AnEmptyNtfsVolumeShowsNoneOfItsOwnFiles)
{
    VX_NEEDS("mkntfs");
    const TestImage image{};
    ASSERT_TRUE(image.MakeNtfs(8));
    ExpectTree(image, {});
    ExpectTreeWhenEncrypted(image, {});
}

TEST(FileSystems, AnEmptyExfatVolumeShowsNothing)
{
    VX_NEEDS("mkfs.exfat");
    const TestImage image{};
    ASSERT_TRUE(image.MakeExfat(16));
    ExpectTree(image, {});
    ExpectTreeWhenEncrypted(image, {});
}

TEST(FileSystems, DeletedFilesAndLabelsOfFatAreNotShown)
{
    VX_NEEDS("mkfs.fat");
    VX_NEEDS("mcopy");
    const TestImage image{};
    ASSERT_TRUE(image.MakeFat(16, "-n LABEL"));
    ASSERT_TRUE(
        image.FillFat({{"kept with a long name", "kept"}, {"lost with a long name", "lost"}}));
    ASSERT_TRUE(RunShell("MTOOLS_SKIP_CHECK=1 mdel -i " + Quoted(image.Path()) +
                         " '::lost with a long name'"));
    ExpectTree(image, {{"kept with a long name", "kept"}});
}

TEST(FileSystems, AttributesOfFatAreShown)
{
    VX_NEEDS("mkfs.fat");
    VX_NEEDS("mcopy");
    const TestImage image{};
    ASSERT_TRUE(image.MakeFat(16, ""));
    ASSERT_TRUE(image.FillFat({{"file", "f"}, {"folder/x", "x"}}));
    ASSERT_TRUE(
        RunShell("MTOOLS_SKIP_CHECK=1 mattrib -i " + Quoted(image.Path()) + " +r +h +s -a ::file"));
    const Opened opened = OpenImage(image.Path());
    ASSERT_TRUE(opened.volume);
    EXPECT_EQ(EntryNamed(*opened.volume, u"/*", u"file").attributes, 0x7u);
    EXPECT_EQ(EntryNamed(*opened.volume, u"/*", u"folder").attributes & 0x10, 0x10u);
}

TEST(FileSystems, AFolderOfManyFilesIsListedWhole)
{
    VX_NEEDS("mkfs.fat");
    VX_NEEDS("mcopy");
    const TestImage image{};
    TestTree tree;
    for (int i = 0; i < 400; ++i)
        tree["many/file number " + std::to_string(i)] = std::to_string(i);
    ASSERT_TRUE(image.MakeFat(64, "-F 32 -s 1"));
    ASSERT_TRUE(image.FillFat(tree));
    ExpectTree(image, tree);
}

}  // namespace
}  // namespace vx
