// Recognition of a volume, its metadata, and the choice between its copies.
#include "BitlockerMark.h"
#include "Maker/ByteWriter.h"
#include "TestVolume.h"

#include "ByteReader.h"
#include "Crc32.h"
#include "MetadataEntries.h"

#include <gtest/gtest.h>

namespace vx::bitlocker {
namespace {

using maker::PutBytes;
using maker::PutU16;
using maker::PutU32;
using maker::PutU64;

constexpr size_t kOrdinaryPointers = 176;

TestVolume OrdinaryVolume()
{
    return TestVolume(RecipeWithPassword(), 64 * 1024);
}

// Damages a copy after its headers, so that its checksum is wrong.
void DamageCopy(TestVolume &volume, size_t copy)
{
    volume.image[volume.plan.copies[copy] + 130] ^= 0xff;
}

void EraseSignature(TestVolume &volume, size_t copy)
{
    PutU64(volume.image, volume.plan.copies[copy], 0);
}

// The offset of the first entry of a type in a copy.
size_t FindEntry(const TestVolume &volume, size_t copy, uint16_t type)
{
    size_t at = volume.plan.copies[copy] + 112;
    while (volume.image[at + 2] != type)
        at += volume.image[at] + 256U * volume.image[at + 1];
    return at;
}

// --- Recognition

TEST(RecognitionTest, TheThreeLayoutsAreRecognised)
{
    for (Layout layout : {Layout::kVista, Layout::kWindows7, Layout::kToGo}) {
        maker::VolumeRecipe recipe = RecipeWithPassword();
        recipe.layout = layout;
        const TestVolume volume(recipe, 64 * 1024);
        EXPECT_TRUE(VolumeOpener::Recognises(volume.image));
        const Result<UnlockedVolume> opened = volume.OpenWithPassword();
        ASSERT_TRUE(opened) << opened.Failure().detail;
        EXPECT_EQ(opened->facts.layout, layout);
    }
}

TEST(RecognitionTest, APlainVolumeIsNotBitlocker)
{
    const std::vector<uint8_t> plain = MakePlainImage(64 * 1024);
    EXPECT_FALSE(VolumeOpener::Recognises(plain));
    TestVolume volume = OrdinaryVolume();
    PutBytes(volume.image, 0, ByteView(plain).First(512));
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kNotBitlocker);
}

TEST(RecognitionTest, FewerThan512BytesAreNotBitlocker)
{
    TestVolume volume = OrdinaryVolume();
    for (size_t size : {size_t{0}, size_t{1}, size_t{511}}) {
        volume.image.resize(size);
        EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kNotBitlocker) << size;
    }
}

TEST(RecognitionTest, AnUnknownIdentifierIsNotBitlocker)
{
    TestVolume volume = OrdinaryVolume();
    volume.image[160] ^= 1;
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kNotBitlocker);
}

TEST(RecognitionTest, AnOldFatVolumeWithTheToGoNameIsNotBitlocker)
{
    std::vector<uint8_t> fat(64 * 1024);
    PutBytes(fat, 0, maker::ByteWriter().U16(0x58eb).Result());
    fat[2] = 0x90;
    PutBytes(fat, 3, maker::ByteWriter().Text("MSWIN4.1").Result());
    EXPECT_FALSE(VolumeOpener::Recognises(fat));
}

// --- Sector size

TEST(SectorSizeTest, TheVolumeHeaderEntrySaysItWhenTheBootSectorDoesNot)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.sectorSize = 4096;
    recipe.sectorSizeInBootSector = false;
    const TestVolume volume(recipe);
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    EXPECT_TRUE(HoldsPlain(opened, volume));
    EXPECT_EQ(opened->facts.sectorSize, 4096U);
}

TEST(SectorSizeTest, ThePlaintextShowsItWhenNothingElseDoes)
{
    for (uint32_t sectorSize : {512U, 1024U, 2048U, 4096U}) {
        maker::VolumeRecipe recipe = RecipeWithPassword();
        recipe.sectorSize = sectorSize;
        recipe.sectorSizeInBootSector = false;
        recipe.headerEntry = maker::VolumeRecipe::HeaderEntry::kNone;
        const TestVolume volume(recipe);
        EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume)) << sectorSize;
    }
}

// --- Header entry

TEST(HeaderEntryTest, EveryFormOfItOpensAndNoneToo)
{
    for (auto form :
         {maker::VolumeRecipe::HeaderEntry::kNone, maker::VolumeRecipe::HeaderEntry::kShort,
          maker::VolumeRecipe::HeaderEntry::kLong}) {
        maker::VolumeRecipe recipe = RecipeWithPassword();
        recipe.headerEntry = form;
        const TestVolume volume(recipe);
        EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
    }
}

TEST(HeaderEntryTest, ACopyThatContradictsItsHeaderEntryIsDamaged)
{
    TestVolume volume = OrdinaryVolume();
    PutU64(volume.image, FindEntry(volume, 0, 0x0f) + 16, 4096);  // the length
    maker::RenewChecksum(volume.image, volume.plan.copies[0]);
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(HoldsPlain(opened, volume));
    EXPECT_EQ(opened->facts.metadataOffset, volume.plan.copies[1]);
    EXPECT_EQ(opened->facts.warnings.size(), 1U);
}

// Each of the two alone, and of a volume whose boot sector names the size of its sectors and of one
// where only the entry does.
TEST(HeaderEntryTest, ThePlaceAndTheLengthMustAgreeEach)
{
    for (const bool inBootSector : {true, false}) {
        for (const size_t field : {8, 16}) {
            maker::VolumeRecipe recipe = RecipeWithPassword();
            recipe.sectorSizeInBootSector = inBootSector;
            TestVolume volume(recipe);
            const size_t at = FindEntry(volume, 0, 0x0f) + field;
            PutU64(volume.image, at, U64At(volume.image, at) + 4096);
            maker::RenewChecksum(volume.image, volume.plan.copies[0]);
            const Result<UnlockedVolume> opened = volume.OpenWithPassword();
            ASSERT_TRUE(HoldsPlain(opened, volume)) << field;
            EXPECT_EQ(opened->facts.metadataOffset, volume.plan.copies[1]) << field;
            ASSERT_EQ(opened->facts.warnings.size(), 1U) << field;
            EXPECT_TRUE(Contains(opened->facts.warnings[0], "contradicts itself")) << field;
        }
    }
}

// --- Choosing a copy

TEST(MetadataCopiesTest, AnIntactVolumeGivesNoWarning)
{
    const TestVolume volume = OrdinaryVolume();
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened);
    EXPECT_TRUE(opened->facts.warnings.empty());
    EXPECT_EQ(opened->facts.metadataOffset, volume.plan.copies[0]);
    EXPECT_TRUE(opened->facts.looksLikeFileSystem);
    EXPECT_EQ(opened->facts.description, "TESTHOST C: 1/2/2026");
}

TEST(MetadataCopiesTest, AnyOneOrTwoDamagedCopiesLeaveTheGoodOneAndAWarning)
{
    for (unsigned damaged = 1; damaged < 7; ++damaged) {
        TestVolume volume = OrdinaryVolume();
        size_t warnings = 0;
        for (size_t copy = 0; copy < 3; ++copy) {
            if ((damaged >> copy & 1) == 0)
                continue;
            DamageCopy(volume, copy);
            ++warnings;
        }
        const Result<UnlockedVolume> opened = volume.OpenWithPassword();
        EXPECT_TRUE(HoldsPlain(opened, volume)) << damaged;
        EXPECT_EQ(opened->facts.warnings.size(), warnings);
    }
}

TEST(MetadataCopiesTest, OnePointerThatSurvivesIsEnough)
{
    for (size_t survivor = 0; survivor < 3; ++survivor) {
        TestVolume volume = OrdinaryVolume();
        for (size_t copy = 0; copy < 3; ++copy)
            if (copy != survivor)
                PutU64(volume.image, kOrdinaryPointers + 8 * copy, 0);
        DamageCopy(volume, survivor);
        const Result<UnlockedVolume> opened = volume.OpenWithPassword();
        EXPECT_TRUE(HoldsPlain(opened, volume)) << survivor;
        EXPECT_FALSE(opened->facts.warnings.empty());
    }
}

TEST(MetadataCopiesTest, APointerIntoNowhereIsPassedOver)
{
    TestVolume volume = OrdinaryVolume();
    PutU64(volume.image, kOrdinaryPointers, UINT64_MAX - 5);
    PutU64(volume.image, kOrdinaryPointers + 8, volume.image.size() - 3);
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

TEST(MetadataCopiesTest, WithoutAnyPointerTheVolumeIsSearched)
{
    TestVolume volume = OrdinaryVolume();
    PutBytes(volume.image, kOrdinaryPointers, std::vector<uint8_t>(24));
    EraseSignature(volume, 0);
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

TEST(MetadataCopiesTest, ThreeErasedSignaturesAreDamagedMetadata)
{
    TestVolume volume = OrdinaryVolume();
    for (size_t copy = 0; copy < 3; ++copy)
        EraseSignature(volume, copy);
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedMetadata);
}

TEST(MetadataCopiesTest, ThreeWrongChecksumsAreDamagedMetadata)
{
    TestVolume volume = OrdinaryVolume();
    for (size_t copy = 0; copy < 3; ++copy)
        DamageCopy(volume, copy);
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedMetadata);
}

TEST(MetadataCopiesTest, ACopyThatIsNotWhereItSaysIsNotUsed)
{
    TestVolume volume = OrdinaryVolume();
    for (size_t copy = 0; copy < 3; ++copy) {
        for (size_t pointer = 0; pointer < 3; ++pointer)
            PutU64(volume.image, volume.plan.copies[copy] + 32 + 8 * pointer, 512);
        maker::RenewChecksum(volume.image, volume.plan.copies[copy]);
    }
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedMetadata);
}

TEST(MetadataCopiesTest, AVersionThatTheBootSectorContradictsIsDamage)
{
    TestVolume volume = OrdinaryVolume();
    for (uint64_t copy : volume.plan.copies) {
        const uint16_t units =
            static_cast<uint16_t>(volume.image[copy + 8] + 256 * volume.image[copy + 9]);
        PutU16(volume.image, copy + 8, static_cast<uint16_t>(units * 16));
        PutU16(volume.image, copy + 10, 1);
        maker::RenewChecksum(volume.image, copy);
    }
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedMetadata);
}

TEST(MetadataCopiesTest, TheCopyWithTheHighestNonceCounterIsUsed)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.nonceCounters = {20, 22, 21};
    const TestVolume volume(recipe);
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->facts.metadataOffset, volume.plan.copies[1]);
}

TEST(MetadataCopiesTest, ADamagedSectorKeyUnderARightChecksumIsTakenFromAnotherCopy)
{
    TestVolume volume = OrdinaryVolume();
    volume.image[FindEntry(volume, 0, 3) + 50] ^= 1;
    maker::RenewChecksum(volume.image, volume.plan.copies[0]);
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(HoldsPlain(opened, volume));
    EXPECT_EQ(opened->facts.metadataOffset, volume.plan.copies[1]);
    EXPECT_EQ(opened->facts.warnings.size(), 1U);
}

TEST(MetadataCopiesTest, AWrongDigestUnderARightChecksumIsNotUsed)
{
    TestVolume volume = OrdinaryVolume();
    volume.image[FindEntry(volume, 0, 7) + 8] ^= 1;  // a letter of the description
    maker::RenewChecksum(volume.image, volume.plan.copies[0]);
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->facts.metadataOffset, volume.plan.copies[1]);
}

TEST(MetadataCopiesTest, ASectorKeyThatIsDamagedInEveryCopyIsDamagedMetadata)
{
    TestVolume volume = OrdinaryVolume();
    for (size_t copy = 0; copy < 3; ++copy) {
        volume.image[FindEntry(volume, copy, 3) + 50] ^= 1;
        maker::RenewChecksum(volume.image, volume.plan.copies[copy]);
    }
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedMetadata);
    EXPECT_EQ(StatusOf(volume.OpenWithPassword("wrong")), Status::kWrongSecret);
}

TEST(MetadataCopiesTest, AProtectorThatIsDamagedInOneCopyIsTakenFromAnother)
{
    TestVolume volume = OrdinaryVolume();
    volume.image[FindEntry(volume, 0, 2) + 8 + 28 + 24] ^= 1;  // the salt
    maker::RenewChecksum(volume.image, volume.plan.copies[0]);
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

TEST(MetadataCopiesTest, AnImageThatEndsBeforeTheFirstCopyIsTruncated)
{
    TestVolume volume = OrdinaryVolume();
    volume.image.resize(volume.plan.copies[0]);
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kTruncatedImage);
}

// --- Entries

Status EntriesStatus(ByteView bytes)
{
    const Result<std::vector<MetadataEntry>> entries = ParseEntries(bytes);
    return entries ? Status::kOk : entries.Failure().status;
}

std::vector<uint8_t> Entry(uint16_t size, uint16_t valueType, size_t dataSize)
{
    return maker::ByteWriter().U16(size).U16(0).U16(valueType).U16(1).Zeros(dataSize).Result();
}

TEST(MetadataEntriesTest, ASizeOfZeroOrTooFewBytesEndTheArray)
{
    EXPECT_EQ(ParseEntries(Entry(0, 1, 100))->size(), 0U);
    EXPECT_EQ(ParseEntries(std::vector<uint8_t>(7, 0xff))->size(), 0U);
    EXPECT_EQ(ParseEntries(Entry(12, 1, 4 + 7))->size(), 1U);
}

TEST(MetadataEntriesTest, ASizeFromOneToSevenOrBeyondTheEndIsDamage)
{
    for (uint16_t size = 1; size < 8; ++size)
        EXPECT_EQ(EntriesStatus(Entry(size, 1, 8)), Status::kDamagedMetadata) << size;
    EXPECT_EQ(EntriesStatus(Entry(17, 1, 8)), Status::kDamagedMetadata);
    EXPECT_EQ(EntriesStatus(Entry(16, 1, 8)), Status::kOk);
}

TEST(MetadataEntriesTest, AValueThatIsTooShortForItsNestedEntriesIsDamage)
{
    EXPECT_EQ(EntriesStatus(Entry(8 + 27, 8, 27)), Status::kDamagedMetadata);
    EXPECT_EQ(EntriesStatus(Entry(8 + 28, 8, 28)), Status::kOk);
}

TEST(MetadataEntriesTest, NestingDeeperThanThreeIsDamage)
{
    std::vector<uint8_t> bytes = Entry(12, 4, 4);
    for (int depth = 1; depth <= 3; ++depth) {
        EXPECT_EQ(EntriesStatus(bytes), Status::kOk) << depth;
        const auto size = static_cast<uint16_t>(12 + bytes.size());
        bytes = maker::ByteWriter().Bytes(Entry(size, 4, 4)).Bytes(bytes).Result();
    }
    EXPECT_EQ(EntriesStatus(bytes), Status::kDamagedMetadata);
}

TEST(Crc32Test, TheUsualCheckValueComesOut)
{
    const char *text = "123456789";
    EXPECT_EQ(Crc32().Add({reinterpret_cast<const uint8_t *>(text), 9}).Value(), 0xcbf43926U);
}

TEST(GuidTest, TheFirstThreeGroupsAreSwappedInText)
{
    EXPECT_EQ(kOrdinaryVolume.Text(), "4967d63b-2e29-4ad8-8399-f6a339e3d001");
    EXPECT_EQ(kConvertingVolume.Text(), "92a84d3b-dd80-4d0e-9e4e-b1e3284eaed8");
}

}  // namespace
}  // namespace vx::bitlocker
