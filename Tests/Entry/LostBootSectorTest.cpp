// File systems in encrypted volumes whose boot sector is damaged: the backup of it is used.
#include "LostScene.h"

#include "ExfatImage.h"
#include "Maker/MadeUpBytes.h"
#include "Method.h"

namespace vx {
namespace {

using bitlocker::Layout;
using bitlocker::Method;
using bitlocker::maker::VolumeRecipe;

class LostBootSector : public LostScene {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        VX_NEEDS("mkfs.exfat");
        VX_NEEDS("mkntfs");
    }

    // The volume is its image, without anything after it.
    void Take(const MadeVolume &made)
    {
        disk = made.bytes;
        relocated = made.plan.relocationOffset;
    }

    void ExpectBackupIsUsed()
    {
        ExpectTree({});
        EXPECT_NE(detail.find("backup"), std::string::npos) << detail;
    }

    std::string Fat32FileSystem() const
    {
        const TestImage made{};
        EXPECT_TRUE(made.MakeFat(34, "-F 32 -s 1") && made.FillFat(tree));
        return made.Folder().ReadFile("image");
    }

    std::string ExfatFileSystem()
    {
        const TestImage made{};
        EXPECT_TRUE(made.MakeExfat(8));
        ExfatImage exfat(made.Folder().ReadFile("image"));
        exfat.Add(exfat.root, {u"file", 0x20, true, 100, 8, 8});
        exfat.Write(100, "contents");
        tree = {{"file", "contents"}};
        return exfat.Text();
    }

    size_t relocated = 0;  // where the first sector of the file system is stored
};

TEST_F(LostBootSector, GarbageZerosAndAnUnreadableOneAreReplaced)
{
    const MadeVolume volumes[] = {MakeVolume(NtfsFileSystem(), RecipeWithKey()),
                                  MakeVolume(Fat32FileSystem(), RecipeWithKey())};
    for (const MadeVolume &made : volumes) {
        Take(made);
        disk[relocated + 3] ^= 1;  // decrypts to garbage
        ExpectBackupIsUsed();
        Erase(relocated, kSector);
        ExpectBackupIsUsed();
        bad = {{relocated, kSector}};
        ExpectBackupIsUsed();
        bad.clear();
    }
}

TEST_F(LostBootSector, ThatOfExfatIsReplaced)
{
    Take(MakeVolume(ExfatFileSystem(), RecipeWithKey()));
    disk[relocated + 3] ^= 1;
    ExpectBackupIsUsed();
    bad = {{relocated, kSector}};
    ExpectBackupIsUsed();
}

TEST_F(LostBootSector, ZerosInTheFileSystemAreReplaced)
{
    std::string plain = NtfsFileSystem();
    plain.replace(0, kSector, std::string(kSector, '\0'));
    Take(MakeVolume(plain, RecipeWithKey()));
    ExpectBackupIsUsed();
}

// Both sectors are lost: the one that leads to the metadata, and that of the file system.
TEST_F(LostBootSector, TheFirstSectorOfTheVolumeMayBeLostToo)
{
    Take(MakeVolume(NtfsFileSystem(), RecipeWithKey()));
    Erase(0, kSector);
    Erase(relocated, kSector);
    ExpectBackupIsUsed();
}

// The places of the metadata are inside the file system, so that its backup is at the end.
VolumeRecipe InsideRecipe()
{
    VolumeRecipe recipe = RecipeWithKey();
    recipe.copyOffsets = {6 * kMiB, 6 * kMiB + 65536, 6 * kMiB + 131072};
    recipe.relocationOffset = 6 * kMiB + 196608;
    return recipe;
}

TEST_F(LostBootSector, TheBackupShowsASectorSizeThatNothingRecords)
{
    const TestImage made{};
    ASSERT_TRUE(made.MakeNtfs(16, "-s 4096"));
    tree.clear();
    VolumeRecipe recipe = InsideRecipe();
    recipe.sectorSize = 4096;
    recipe.sectorSizeInBootSector = false;
    recipe.headerEntry = VolumeRecipe::HeaderEntry::kNone;
    Take(MakeVolume(made.Folder().ReadFile("image"), recipe));
    ASSERT_EQ(disk.size(), 16 * kMiB);
    ASSERT_EQ(Open({}), VolumeLibraryStatus::kSuccess) << detail;
    Erase(relocated, kSector);
    EXPECT_EQ(Open({}), VolumeLibraryStatus::kSuccess) << detail;
}

// --- A key of the sectors, which nothing but what it decrypts proves

class LostBootSectorAndKey : public LostBootSector {
protected:
    // From 5 MiB on the volume is not encrypted, and so its backup can be read with any key.
    static VolumeRecipe HalfEncrypted()
    {
        VolumeRecipe recipe = InsideRecipe();
        recipe.relocationOffset = 4 * kMiB;
        recipe.encryptedSize = 5 * kMiB;
        recipe.state = 3;
        recipe.nextState = 1;
        return recipe;
    }

    // Its first sectors are not encrypted either.
    static VolumeRecipe EncryptedInside()
    {
        VolumeRecipe recipe = HalfEncrypted();
        recipe.relocationOffset = InsideRecipe().relocationOffset;
        return recipe;
    }

    std::vector<std::string> FileSystems()
    {
        const TestImage fat16{};
        EXPECT_TRUE(fat16.MakeFat(16, "-F 16"));
        return {NtfsFileSystem(), Fat32FileSystem(), ExfatFileSystem(),
                fat16.Folder().ReadFile("image")};
    }

    static std::string Hex(const std::vector<uint8_t> &bytes)
    {
        std::string text;
        for (const uint8_t byte : bytes) {
            constexpr char kDigits[] = "0123456789abcdef";
            text += kDigits[byte >> 4];
            text += kDigits[byte & 15];
        }
        return text;
    }

    VolumeLibraryStatus OpenWithSectorKey(const std::vector<uint8_t> &key)
    {
        keyFile = "aes-xts-128:" + Hex(key);
        return Open({}, UnlockKind::kSectorKey);
    }

    // The right key opens it, without doubt, and another one does not.
    void ExpectRightKeyOnly(VolumeLibraryStatus refusal = VolumeLibraryStatus::kWrongSecret)
    {
        std::vector<uint8_t> key = bitlocker::maker::MadeUpBytes(1).Bytes("sector key", 32);
        EXPECT_EQ(OpenWithSectorKey(key), VolumeLibraryStatus::kSuccess) << detail;
        EXPECT_EQ(detail.find("nothing that could be read shows"), std::string::npos) << detail;
        key[0] ^= 1;
        EXPECT_EQ(OpenWithSectorKey(key), refusal) << detail;
    }
};

TEST_F(LostBootSectorAndKey, ABackupThatIsNotEncryptedDoesNotMakeAWrongKeyRight)
{
    Take(MakeVolume(NtfsFileSystem(), HalfEncrypted()));
    ExpectRightKeyOnly();
}

TEST_F(LostBootSectorAndKey, ABackupThatIsEncryptedProvesTheKey)
{
    for (const std::string &plain : {NtfsFileSystem(), Fat32FileSystem(), ExfatFileSystem()}) {
        Take(MakeVolume(plain, InsideRecipe()));
        disk[relocated + 3] ^= 1;
        ExpectRightKeyOnly();
        bad = {{relocated, kSector}};
        ExpectRightKeyOnly(VolumeLibraryStatus::kReadFailed);
        bad.clear();
    }
}

// All of it that shows a file system opens with any key; what is encrypted would be garbage.
TEST_F(LostBootSectorAndKey, AWrongKeyIsRefusedThoughTheFileSystemBeginsWithPlainSectors)
{
    for (const std::string &plain : FileSystems()) {
        Take(MakeVolume(plain, EncryptedInside()));
        ExpectRightKeyOnly();
    }
}

TEST_F(LostBootSectorAndKey, ABackupThatIsNotEncryptedIsUsedIfTheTablesProveTheKey)
{
    for (const std::string &plain : {NtfsFileSystem(), Fat32FileSystem(), ExfatFileSystem()}) {
        Take(MakeVolume(plain, EncryptedInside()));
        bad = {{relocated, kSector}};
        ExpectRightKeyOnly();
        bad.clear();
    }
}

}  // namespace
}  // namespace vx
