// Encrypted volumes whose first sector, or the table that names them, is lost.
#include "DiskWriter.h"
#include "LostScene.h"
#include "Maker/ByteWriter.h"

namespace vx {
namespace {

using bitlocker::Layout;
using bitlocker::Method;
using bitlocker::maker::VolumeRecipe;

constexpr size_t kBegin = kMiB + 7 * kSector;  // nothing is aligned to it

class LostHeader : public LostScene {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        VX_NEEDS("mkntfs");
    }

    void ExpectNote(const std::string &part)
    {
        EXPECT_NE(detail.find(part), std::string::npos) << detail;
    }

    // A table with a partition for the volume, and a Linux file system before it.
    void PutMbr(size_t first, size_t bytes)
    {
        DiskWriter table(1);
        table.PutMbr(0, 0, 0x83, 1, 16);
        table.PutMbr(0, 1, 0x07, static_cast<uint32_t>(first / kSector),
                     static_cast<uint32_t>(bytes / kSector));
        disk.replace(0, kSector, table.Bytes());
    }
};

// --- By an offset

TEST_F(LostHeader, AVolumeOpensByItsBeginningOnADiskWithoutATable)
{
    Put(MakeVolume(FatFileSystem(), RecipeWithKey()), kBegin);
    ExpectTreeAt(kBegin);
    EXPECT_EQ(detail, "");
}

TEST_F(LostHeader, WithoutItsFirstSectorItOpensByItsBeginningAndByEachCopy)
{
    const MadeVolume made = MakeVolume(FatFileSystem(), RecipeWithKey());
    Put(made, kBegin);
    for (const char garbage : {'\0', '\xf6', '\xff'}) {
        Erase(kBegin, kSector, garbage);
        ExpectTreeAt(kBegin);
        ExpectNote("says that it begins at byte " + std::to_string(kBegin));
        for (const uint64_t copy : made.plan.copies)
            ExpectTreeAt(kBegin + copy);
    }
}

TEST_F(LostHeader, AFirstSectorThatCannotBeReadIsNotNeeded)
{
    const MadeVolume made = MakeVolume(FatFileSystem(), RecipeWithKey());
    Put(made, kBegin);
    bad = {{kBegin, kSector}};
    ExpectTreeAt(kBegin);
    ExpectTreeAt(kBegin + made.plan.copies[2]);
}

TEST_F(LostHeader, EveryByteIsThereWithoutTheFirstMebibyte)
{
    VolumeRecipe recipe = RecipeWithKey();
    recipe.method = Method::kAes256Cbc;
    const MadeVolume made = MakeVolume(NoiseBytes(3 * kMiB, 4), recipe);
    Put(made, kBegin);
    Erase(0, kBegin + kSector);
    const std::string contents = ContentsAt(kBegin);
    EXPECT_EQ(contents.size(), made.bytes.size());
    EXPECT_TRUE(contents.compare(0, made.plain.size(), made.plain) == 0);
}

TEST_F(LostHeader, ASecondVolumeOnTheDiskIsNotTakenForItsEnd)
{
    const MadeVolume first = MakeVolume(FatFileSystem(), RecipeWithKey(1));
    const MadeVolume second = MakeVolume(NoiseBytes(kMiB, 8), RecipeWithKey(2));
    Put(first, kBegin);
    Put(second, kBegin + first.bytes.size());
    Erase(kBegin, kSector);
    EXPECT_EQ(ContentsAt(kBegin).size(), first.bytes.size());
}

TEST_F(LostHeader, ASingleCopyOpensTheVolumeWhereItsContentsFit)
{
    const MadeVolume made = MakeVolume(FatFileSystem(), RecipeWithKey());
    for (size_t left = 0; left < made.plan.copies.size(); ++left) {
        disk.clear();
        Put(made, kBegin);
        Erase(kBegin, kSector);
        for (size_t copy = 0; copy < made.plan.copies.size(); ++copy) {
            if (copy != left)
                Erase(kBegin + made.plan.copies[copy], kSector);
        }
        ExpectTreeAt(kBegin + made.plan.copies[left]);
        ExpectNote("says that it begins at byte " + std::to_string(kBegin));
    }
}

TEST_F(LostHeader, NothingIsOpenedWhereNothingIs)
{
    const MadeVolume made = MakeVolume(FatFileSystem(), RecipeWithKey());
    Put(made, kBegin);
    for (const uint64_t offset :
         {uint64_t{0}, uint64_t{kBegin + kSector}, uint64_t{disk.size()}, UINT64_MAX}) {
        EXPECT_EQ(OpenAt(offset), VolumeLibraryStatus::kNoSuchVolume) << offset;
        ExpectNote("begins at byte " + std::to_string(offset));
        ExpectNote("\"volume-info --search\"");
    }
}

TEST_F(LostHeader, AVolumeThatWasFormattedOpensByACopyThatIsLeft)
{
    const MadeVolume made = MakeVolume(FatFileSystem(), RecipeWithKey());
    Put(made, kBegin);
    Erase(kBegin, 64 * kSector);
    disk.replace(kBegin, kSector, made.plain.substr(0, kSector));
    EXPECT_EQ(OpenAt(kBegin), VolumeLibraryStatus::kSuccess) << detail;
    EXPECT_EQ(OpenAt(kBegin + made.plan.copies[1]), VolumeLibraryStatus::kSuccess) << detail;
}

TEST_F(LostHeader, ASuspendedVolumeOpensWithoutASecret)
{
    VolumeRecipe recipe = RecipeWithKey();
    recipe.protectors.push_back(bitlocker::maker::ProtectorRecipe::ClearKey());
    Put(MakeVolume(FatFileSystem(), recipe), kBegin);
    Erase(kBegin, kSector);
    EXPECT_EQ(Open({"", 0, kBegin}, UnlockKind::kNone), VolumeLibraryStatus::kSuccess) << detail;
}

TEST_F(LostHeader, WithoutASecretOneIsNeeded)
{
    Put(MakeVolume(FatFileSystem(), RecipeWithKey()), kBegin);
    Erase(kBegin, kSector);
    EXPECT_EQ(Open({"", 0, kBegin}, UnlockKind::kNone), VolumeLibraryStatus::kSecretNeeded);
}

// --- Layouts

TEST_F(LostHeader, OfVistaTheFirstSectorComesFromItsBackup)
{
    VolumeRecipe recipe = RecipeWithKey();
    recipe.layout = Layout::kVista;
    recipe.method = Method::kAes128Elephant;
    const MadeVolume made = MakeVolume(NtfsFileSystem(), recipe);
    Put(made, kBegin);
    disk.resize(kBegin + made.bytes.size());
    Erase(kBegin, kSector);
    for (const uint64_t offset : {uint64_t{kBegin}, kBegin + made.plan.copies[1]}) {
        ExpectTreeAt(offset);
        ExpectNote("the first sector of the file system was lost with it; its backup is used");
        const std::string contents = ContentsAt(offset);
        EXPECT_TRUE(contents.compare(0, made.plain.size(), made.plain) == 0);
    }
}

TEST_F(LostHeader, OfVistaWithoutABackupTheFirstSectorIsZeros)
{
    VolumeRecipe recipe = RecipeWithKey();
    recipe.layout = Layout::kVista;
    recipe.method = Method::kAes128Cbc;
    std::string plain = NtfsFileSystem();
    plain.replace(plain.size() - kSector, kSector, std::string(kSector, 'x'));
    const MadeVolume made = MakeVolume(plain, recipe);
    Put(made, kBegin);
    disk.resize(kBegin + made.bytes.size());
    Erase(kBegin, kSector);
    const std::string contents = ContentsAt(kBegin);
    ExpectNote("the first sector of the file system was lost with it");
    EXPECT_EQ(contents.substr(0, kSector), std::string(kSector, '\0'));
    EXPECT_TRUE(contents.compare(kSector, plain.size() - kSector, plain, kSector) == 0);
}

// A volume To Go begins with a small file system for computers that cannot open it, with a backup
// of its own.
TEST_F(LostHeader, OfAVolumeToGoTheProgramInFrontIsNotTakenForTheVolume)
{
    const TestImage front{};
    ASSERT_TRUE(front.MakeFat(34, "-F 32 -s 1 -n PROGRAM"));
    VolumeRecipe recipe = RecipeWithKey();
    recipe.layout = Layout::kToGo;
    recipe.relocatedSectors = 4096;
    const MadeVolume made = MakeVolume(FatFileSystem(), recipe);
    Put(made, 0);
    disk.replace(kSector, 2047 * kSector,
                 front.Folder().ReadFile("image").substr(kSector, 2047 * kSector));
    disk.replace(6 * kSector + 3, 8, "MSWIN4.1");
    Erase(0, kSector);
    ExpectTree({});
    EXPECT_EQ(Open({}, UnlockKind::kNone), VolumeLibraryStatus::kSecretNeeded) << detail;
}

// Its metadata lies inside the file system, and its end is plain.
VolumeRecipe HalfConverted()
{
    VolumeRecipe recipe = RecipeWithKey();
    recipe.headerEntry = VolumeRecipe::HeaderEntry::kShort;
    recipe.encryptedSize = 5 * kMiB;
    recipe.state = 3;
    recipe.nextState = 1;
    recipe.copyOffsets = {6 * kMiB, 6 * kMiB + 65536, 6 * kMiB + 131072};
    recipe.relocationOffset = 4 * kMiB;
    return recipe;
}

TEST_F(LostHeader, OfAHalfConvertedVolumeThePlainPartIsNotTakenForTheVolume)
{
    const MadeVolume made = MakeVolume(NtfsFileSystem(), HalfConverted());
    Put(made, 0);
    disk.resize(made.bytes.size());
    Erase(0, kSector);
    EXPECT_EQ(Open({}), VolumeLibraryStatus::kSuccess) << detail;
    EXPECT_EQ(Open({}, UnlockKind::kNone), VolumeLibraryStatus::kSecretNeeded) << detail;
}

// Nothing but the file system says where it ends.
TEST_F(LostHeader, AHalfConvertedVolumeEndsWithItsFileSystem)
{
    const MadeVolume made = MakeVolume(NtfsFileSystem(), HalfConverted());
    Put(made, kBegin);
    disk += NoiseBytes(kMiB, 5);
    Erase(kBegin, kSector);
    EXPECT_EQ(ContentsAt(kBegin).size(), made.plain.size());
}

TEST_F(LostHeader, AVolumeInConversionOpens)
{
    VolumeRecipe recipe = RecipeWithKey();
    recipe.conversion.emplace();
    recipe.conversion->isEncrypted = [](uint64_t offset) { return offset / kMiB % 2 == 0; };
    Put(MakeVolume(FatFileSystem(), recipe), kBegin);
    Erase(kBegin, kSector);
    ExpectTreeAt(kBegin);
}

// --- By a table, or without anything

TEST_F(LostHeader, APartitionWithoutItsFirstSectorOpensWithASecret)
{
    const MadeVolume made = MakeVolume(FatFileSystem(), RecipeWithKey());
    Put(made, kBegin);
    PutMbr(kBegin, made.bytes.size());
    for (const char garbage : {'\0', '\x55'}) {
        Erase(kBegin, kSector, garbage);
        ExpectTree({});
        ExpectNote("the first sector of the encrypted volume is lost");
        EXPECT_EQ(Open({}, UnlockKind::kNone), VolumeLibraryStatus::kFileSystemNotSupported);
    }
}

// --- A first sector with a damaged signature

class DamagedSignature : public LostHeader {
protected:
    static constexpr size_t kSignatureAt = 3;
    static constexpr size_t kIdentifierAt = 160;

    VolumeLibraryStatus OpenWithoutSecret()
    {
        OpeningOptions options;
        options.opensContents = true;
        return Open({}, UnlockKind::kNone, options);
    }

    // With each of these bytes changed alone.
    void ExpectSecretIsNeeded(size_t begin)
    {
        for (const size_t at : {size_t{0}, kSignatureAt, kSignatureAt + 7, kIdentifierAt + 1}) {
            disk[begin + at] ^= 4;
            EXPECT_EQ(OpenWithoutSecret(), VolumeLibraryStatus::kSecretNeeded) << at << detail;
            EXPECT_EQ(Open({}, UnlockKind::kNone), VolumeLibraryStatus::kSecretNeeded) << at;
            ExpectTree({});
            disk[begin + at] ^= 4;
        }
        Erase(begin, kIdentifierAt);
        EXPECT_EQ(OpenWithoutSecret(), VolumeLibraryStatus::kSecretNeeded) << detail;
    }
};

TEST_F(DamagedSignature, WithoutASecretTheDiskIsStillAnEncryptedVolume)
{
    disk = MakeVolume(FatFileSystem(), RecipeWithKey()).bytes;
    ExpectSecretIsNeeded(0);
}

TEST_F(DamagedSignature, OfTheOnlyVolumeInATableItIsStillAnEncryptedOne)
{
    const MadeVolume made = MakeVolume(FatFileSystem(), RecipeWithKey());
    Put(made, kBegin);
    PutMbr(kBegin, made.bytes.size());
    ExpectSecretIsNeeded(kBegin);
}

TEST_F(DamagedSignature, WithABackupOfNtfsThatIsNotEncryptedItIsStillAnEncryptedVolume)
{
    const MadeVolume made = MakeVolume(NtfsFileSystem(), RecipeWithKey());
    disk = made.bytes;
    disk += made.plain.substr(made.plain.size() - kSector);
    disk[kSignatureAt] ^= 4;
    EXPECT_EQ(OpenWithoutSecret(), VolumeLibraryStatus::kSecretNeeded) << detail;
}

TEST_F(DamagedSignature, AVolumeThatNeedsNoSecretOpens)
{
    VolumeRecipe recipe = RecipeWithKey();
    recipe.protectors.push_back(bitlocker::maker::ProtectorRecipe::ClearKey());
    const MadeVolume made = MakeVolume(FatFileSystem(), recipe);
    disk = made.bytes;
    disk[kSignatureAt] ^= 4;
    ASSERT_EQ(OpenWithoutSecret(), VolumeLibraryStatus::kSuccess) << detail;
    const std::string contents = ReadWholeFile(*volume, kVolumeContentsPath).value_or("");
    EXPECT_TRUE(contents.compare(0, made.plain.size(), made.plain) == 0);
}

TEST_F(DamagedSignature, WithoutMetadataTheDiskIsWrittenAsItIs)
{
    disk = NoiseBytes(kMiB, 3);
    disk.replace(kSignatureAt, 8, "-FVE-FS#");
    EXPECT_EQ(OpenWithoutSecret(), VolumeLibraryStatus::kSuccess) << detail;
}

TEST_F(LostHeader, AnUnreadablePartitionOpensByItsNumberWithASecret)
{
    const MadeVolume made = MakeVolume(FatFileSystem(), RecipeWithKey());
    Put(made, kBegin);
    PutMbr(kBegin, made.bytes.size());
    bad = {{kBegin, kSector}};
    ExpectTree({"", 1});
    ExpectTree({});
    EXPECT_EQ(Open({"", 1}, UnlockKind::kNone), VolumeLibraryStatus::kReadFailed);
}

TEST_F(LostHeader, OfSeveralVolumesWithoutFirstSectorsOneIsChosenByItsOffset)
{
    const MadeVolume made = MakeVolume(FatFileSystem(), RecipeWithKey());
    const size_t second = kBegin + made.bytes.size();
    Put(made, kBegin);
    Put(made, second);
    DiskWriter table(1);
    table.PutMbr(0, 0, 0x07, kBegin / kSector, static_cast<uint32_t>(made.bytes.size() / kSector));
    table.PutMbr(0, 1, 0x07, static_cast<uint32_t>(second / kSector),
                 static_cast<uint32_t>(made.bytes.size() / kSector));
    disk.replace(0, kSector, table.Bytes());
    Erase(kBegin, kSector);
    Erase(second, kSector);
    EXPECT_EQ(Open({}), VolumeLibraryStatus::kSeveralVolumes);
    ExpectNote("@" + std::to_string(kBegin) + ", @" + std::to_string(second));
    ExpectTreeAt(second);
}

TEST_F(LostHeader, AnImageOfTheVolumeWithoutItsFirstSectorOpensWithASecret)
{
    const MadeVolume made = MakeVolume(FatFileSystem(), RecipeWithKey());
    Put(made, 0);
    disk.resize(made.bytes.size());
    Erase(0, kSector);
    ExpectTree({});
    ExpectTree({"", 1});
    disk.replace(0, kSector, NoiseBytes(kSector, 3));
    ExpectTree({});
    bad = {{0, kSector}};
    ExpectTree({});
}

TEST_F(LostHeader, WhereNothingIsFoundTheSearchIsAdvised)
{
    disk = NoiseBytes(2 * kMiB, 3);
    EXPECT_EQ(Open({}), VolumeLibraryStatus::kFileSystemNotSupported);
    ExpectNote("; if an encrypted volume was there, \"volume-info --search\"");
    EXPECT_EQ(Open({}, UnlockKind::kNone), VolumeLibraryStatus::kFileSystemNotSupported);
    EXPECT_EQ(detail.find("volume-info"), std::string::npos) << detail;
}

TEST_F(LostHeader, APlainVolumeWithAPartitionOfNothingKnownAdvisesTheSearch)
{
    disk = NoiseBytes(2 * kMiB, 3) + FatFileSystem();
    PutMbr(2 * kMiB, 8 * kMiB);
    EXPECT_EQ(Open({}), VolumeLibraryStatus::kNotEncrypted);
    ExpectNote("\"volume-info --search\"");
}

TEST_F(LostHeader, WhatAnEarlierVolumeLeftDoesNotMakeAPlainOneEncrypted)
{
    MadeVolume made = MakeVolume(NtfsFileSystem(), RecipeWithKey());
    const size_t copy = made.plan.copies[0];
    std::string plain = made.plain + std::string(copy - made.plain.size(), '\0') +
                        made.bytes.substr(copy, 64 * kSector);
    plain.replace(0, kSector, std::string(kSector, '\0'));
    disk = plain;
    EXPECT_EQ(Open({}, UnlockKind::kNone), VolumeLibraryStatus::kSuccess) << detail;
}

}  // namespace
}  // namespace vx
