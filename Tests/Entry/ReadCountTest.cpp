// What a volume reads of its source: each folder once, however often its files are opened. The
// folders are larger together than the blocks that are kept in memory, so that a second pass
// over one of them would show.
#include "CountingSource.h"
#include "OpenSource.h"
#include "TestImage.h"

#include "CachedSource.h"
#include "FileByteSource.h"

namespace vx {
namespace {

class ReadCount : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        if (!HasProgram("mkfs.fat") || !HasProgram("mcopy"))
            return;
        TestTree tree;
        for (int number = 0; number < kFiles; ++number)
            for (const char *folder : {"A/", "B/", "C/"})
                tree.emplace(folder + NameOf(number), "");
        image = new TestImage;
        ASSERT_TRUE(image->MakeFat(64, "-F 16 -s 8") && image->FillFat(tree));
    }
    static void TearDownTestSuite()
    {
        delete image;
        image = nullptr;
    }

    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        ASSERT_NE(image, nullptr);
        auto file = FileByteSource::Open(image->Path());
        ASSERT_TRUE(file);
        source = std::make_shared<CountingSource>(std::move(*file));
        volume = FatVolumeOf(source);
        ASSERT_NE(volume, nullptr);
        source->TakeBytes();
    }

    // Long, so that an entry needs 19 records of 32 bytes.
    static std::string NameOf(int number)
    {
        return std::to_string(number) + std::string(230 - 4, 'n');
    }

    uint64_t BytesForListing(const std::u16string &folder)
    {
        EXPECT_EQ(SortedNames(*volume, folder + u"/*").size(), size_t{kFiles});
        return source->TakeBytes();
    }

    uint64_t BytesForOpening(const std::u16string &folder)
    {
        for (int number = 0; number < kFiles; ++number)
            EXPECT_TRUE(Opens(*volume, folder + u"/" + Utf16(NameOf(number)))) << number;
        return source->TakeBytes();
    }

    static constexpr int kFiles = 1500;
    static constexpr uint64_t kFolderBytes = uint64_t{kFiles} * 19 * 32;
    // Blocks begin before a folder and end after it, and the table is read as well.
    static constexpr uint64_t kAround = 6 * CachedSource::kBlockBytes;

    static TestImage *image;
    std::shared_ptr<CountingSource> source;
    std::unique_ptr<OwnedVolume> volume;
};

TestImage *ReadCount::image = nullptr;

TEST_F(ReadCount, ListingAFolderIsOnePassOverIt)
{
    const uint64_t bytes = BytesForListing(u"/A");
    EXPECT_GE(bytes, kFolderBytes - kFolderBytes / 16);
    EXPECT_LE(bytes, kFolderBytes + kAround);
}

TEST_F(ReadCount, OpeningTheFilesOfAListedFolderReadsNoFolderAgain)
{
    BytesForListing(u"/A");
    BytesForListing(u"/B");
    BytesForListing(u"/C");  // by now nothing of A is among the blocks in memory
    for (const char16_t *folder : {u"/A", u"/B", u"/C"})
        EXPECT_EQ(BytesForOpening(folder), 0u);
}

TEST_F(ReadCount, OpeningTheFilesOfAFolderThatWasNotListedIsOnePassOverIt)
{
    for (const char16_t *folder : {u"/A", u"/B", u"/C"})
        EXPECT_LE(BytesForOpening(folder), kFolderBytes + kAround);
    for (const char16_t *folder : {u"/A", u"/B", u"/C"})
        EXPECT_EQ(BytesForOpening(folder), 0u);
}

}  // namespace
}  // namespace vx
