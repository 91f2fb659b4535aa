// The search of a disk for encrypted volumes, as programs call it.
#include "DiskSearch.h"

#include "DiskWriter.h"
#include "FileByteSource.h"
#include "LostScene.h"

#include <unistd.h>

namespace vx {
namespace {

class DiskSearch : public LostScene {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
    }

    DiskSearchResult Search()
    {
        path = image.Folder().WriteFile("disk", disk);
        auto result = SearchDisk(path, nullptr, {});
        EXPECT_TRUE(result) << result.Failure().detail;
        return result ? *result : DiskSearchResult();
    }

    // A test failure unless the address opens a volume with the tree.
    void ExpectOpens(const DiskSearchFinding &finding)
    {
        const Opened opened = OpenImage(path + finding.address, "startup-key", keyFile.c_str());
        ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess)
            << finding.address << ": " << opened.detail;
        ExpectSameTree(ReadTree(*opened.volume), tree);
    }

    void PutTable(const std::vector<size_t> &begins, size_t bytes)
    {
        DiskWriter table(1);
        for (size_t i = 0; i < begins.size(); ++i)
            table.PutMbr(0, i, 0x07, static_cast<uint32_t>(begins[i] / kSector),
                         static_cast<uint32_t>(bytes / kSector));
        disk.replace(0, kSector, table.Bytes());
    }

    std::string path;
};

TEST_F(DiskSearch, EachAddressOpensItsVolume)
{
    const MadeVolume made = MakeVolume(FatFileSystem(), RecipeWithKey());
    const size_t size = made.bytes.size();
    const std::vector<size_t> begins = {kMiB, kMiB + size, kMiB + 2 * size + 5 * kSector,
                                        kMiB + 3 * size + 9 * kSector};
    for (const size_t begin : begins)
        Put(made, begin);
    PutTable({begins[0], begins[1], begins[2]}, size);
    Erase(begins[0], kSector);
    Erase(begins[3], kSector);
    Erase(begins[3] + made.plan.copies[0], kSector);
    Erase(begins[3] + made.plan.copies[1], kSector);
    const DiskSearchResult result = Search();
    ASSERT_EQ(result.findings.size(), 4u);
    const auto at = [](uint64_t offset) { return "@" + std::to_string(offset); };
    const std::vector<std::string> addresses = {at(begins[0]), "#1", "#2",
                                                at(begins[3] + made.plan.copies[2])};
    const std::vector<bool> inTable = {true, true, true, false};
    for (size_t i = 0; i < addresses.size(); ++i) {
        const DiskSearchFinding &finding = result.findings[i];
        EXPECT_EQ(finding.address, addresses[i]);
        EXPECT_EQ(finding.isInTable, inTable[i]);
        EXPECT_EQ(finding.hasBootSector, i == 1 || i == 2);
        EXPECT_EQ(finding.method, "AES-128-XTS");
        EXPECT_EQ(finding.description, "TESTHOST C: 1/2/2026");
        ExpectOpens(finding);
    }
    EXPECT_EQ(result.findings[1].offset, begins[1]);
    EXPECT_EQ(result.findings[1].bytes, size);
    EXPECT_EQ(result.gaps.unreadBytes, 0u);
}

// How far the encryption has come is no size if metadata lies beyond it.
TEST_F(DiskSearch, ABoundaryBeforeTheMetadataIsNotTheSize)
{
    bitlocker::maker::VolumeRecipe recipe = RecipeWithKey();
    recipe.encryptedSize = 9 * 1024;
    Put(MakeVolume(FatFileSystem(), recipe), kMiB);
    const DiskSearchResult result = Search();
    ASSERT_EQ(result.findings.size(), 1u);
    EXPECT_EQ(result.findings[0].bytes, 0u);
    ExpectOpens(result.findings[0]);
    Erase(kMiB, kSector);
    ExpectOpens(Search().findings.at(0));
}

TEST_F(DiskSearch, ADiskThatIsOneVolumeHasAnAddressToo)
{
    Put(MakeVolume(FatFileSystem(), RecipeWithKey()), 0);
    const DiskSearchResult result = Search();
    ASSERT_EQ(result.findings.size(), 1u);
    EXPECT_EQ(result.findings[0].address, "@0");
    ExpectOpens(result.findings[0]);
}

// A later volume at the same place took the first sector and one of the copies.
TEST_F(DiskSearch, AnEarlierVolumeHasTheAddressOfACopy)
{
    bitlocker::maker::VolumeRecipe recipe = RecipeWithKey(2);
    const MadeVolume later = MakeVolume(NoiseBytes(64 * 1024, 1), recipe);
    const MadeVolume earlier = MakeVolume(FatFileSystem(), RecipeWithKey(1));
    Put(earlier, kMiB);
    Put(later, kMiB);
    const DiskSearchResult result = Search();
    ASSERT_EQ(result.findings.size(), 2u);
    const size_t old = result.findings[0].hasBootSector ? 1 : 0;
    EXPECT_EQ(result.findings[1 - old].address, "@" + std::to_string(kMiB));
    EXPECT_EQ(result.findings[old].address, "@" + std::to_string(kMiB + earlier.plan.copies[0]));
    EXPECT_NE(result.findings[0].identifier, result.findings[1].identifier);
    const Opened opened =
        OpenImage(path + result.findings[old].address, "startup-key", keyFile.c_str());
    EXPECT_NE(opened.status, VolumeLibraryStatus::kWrongSecret) << opened.detail;
}

TEST_F(DiskSearch, ADiskWithoutEncryptedVolumesHasNoFinding)
{
    disk = FatFileSystem();
    const DiskSearchResult result = Search();
    EXPECT_TRUE(result.findings.empty());
    EXPECT_FALSE(result.error);
}

// Each claims 64 KiB for its checksum and overlaps 127 others.
TEST_F(DiskSearch, CopiesThatAreNotCheckedSinceThereAreTooManyAreCounted)
{
    constexpr size_t kForged = 8192;
    std::string sector = "-FVE-FS-";
    sector += std::string("\xf0\x0f\x02", 3);  // size and version
    sector.resize(32);
    sector += std::string("\0\x02", 2);  // a place
    sector.resize(kSector);
    disk.clear();
    for (size_t i = 0; i <= kForged; ++i)
        disk += sector;
    EXPECT_GT(Search().gaps.uncheckedCopies, 1000u);
    disk.resize(64 * kSector);
    EXPECT_EQ(Search().gaps.uncheckedCopies, 0u);
}

TEST_F(DiskSearch, HolesOfAnImageCostNothing)
{
    constexpr off_t kSize = off_t{1} << 40;
    Put(MakeVolume(FatFileSystem(), RecipeWithKey()), kMiB);
    Search();
    ASSERT_EQ(truncate(path.c_str(), kSize), 0);
    if ((*FileByteSource::Open(path))->NextData(kSize / 2) == kSize / 2)
        GTEST_SKIP() << "this file system does not know of holes";
    const auto result = SearchDisk(path, nullptr, {});
    ASSERT_TRUE(result);
    EXPECT_EQ(result->findings.size(), 1u);
    EXPECT_EQ(result->gaps.unreadBytes, 0u);
}

TEST_F(DiskSearch, WhatMayNotBeReadIsCountedInHolesToo)
{
    disk = FatFileSystem();
    Search();
    ASSERT_EQ(truncate(path.c_str(), 64 * kMiB), 0);
    OpeningOptions options;
    options.limits.withheld = std::make_shared<ByteRanges>(ByteRanges{{32 * kMiB, 5 * kMiB}});
    const auto result = SearchDisk(path, nullptr, options);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->gaps.unreadBytes, 5 * kMiB);
}

TEST_F(DiskSearch, AFolderAndAMissingFileAreRefused)
{
    const auto folder = SearchDisk(image.At(""), nullptr, {});
    ASSERT_FALSE(folder);
    EXPECT_EQ(folder.Failure().status, Status::kNotAVolume);
    const auto missing = SearchDisk(image.At("none"), nullptr, {});
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.Failure().systemError, ENOENT);
}

TEST_F(DiskSearch, AChoiceAfterThePathIsPassedOver)
{
    Put(MakeVolume(FatFileSystem(), RecipeWithKey()), kMiB);
    Search();
    for (const char *choice : {"#7", "@4096"}) {
        const auto result = SearchDisk(path + choice, nullptr, {});
        ASSERT_TRUE(result);
        EXPECT_EQ(result->findings.size(), 1u);
    }
}

}  // namespace
}  // namespace vx
