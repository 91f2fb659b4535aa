// Recognition of a volume, its metadata, and the choice between its copies.
#include "Maker/ByteWriter.h"
#include "TestVolume.h"

#include "Bitlocker/Crc32.h"
#include "Bitlocker/MetadataEntries.h"

#include <gtest/gtest.h>

namespace vx::bitlocker {
namespace {

using maker::putBytes;
using maker::putU16;
using maker::putU32;
using maker::putU64;

constexpr size_t kOrdinaryPointers = 176;

TestVolume ordinaryVolume()
{
    return TestVolume(recipeWithPassword(), 64 * 1024);
}

// Damages a copy behind its headers, so that its checksum is wrong.
void damageCopy(TestVolume &volume, size_t copy)
{
    volume.image[volume.plan.copies[copy] + 130] ^= 0xff;
}

void eraseSignature(TestVolume &volume, size_t copy)
{
    putU64(volume.image, volume.plan.copies[copy], 0);
}

// The offset of the first entry of a type in a copy.
size_t findEntry(const TestVolume &volume, size_t copy, uint16_t type)
{
    size_t at = volume.plan.copies[copy] + 112;
    while (volume.image[at + 2] != type)
        at += volume.image[at] + 256U * volume.image[at + 1];
    return at;
}

// --- Recognition

TEST(RecognitionTest, TheThreeLayoutsAreRecognised)
{
    for (Layout layout : {Layout::Vista, Layout::Windows7, Layout::ToGo}) {
        maker::VolumeRecipe recipe = recipeWithPassword();
        recipe.layout = layout;
        const TestVolume volume(recipe, 64 * 1024);
        EXPECT_TRUE(VolumeOpener::recognises(MemoryByteSource(volume.image)));
        const Result<OpenedVolume> opened = volume.openWithPassword();
        ASSERT_TRUE(opened) << describe(opened.error());
        EXPECT_EQ(opened->facts.layout, layout);
    }
}

TEST(RecognitionTest, APlainVolumeIsNotBitlocker)
{
    const std::vector<uint8_t> plain = makePlainImage(64 * 1024);
    EXPECT_FALSE(VolumeOpener::recognises(MemoryByteSource(plain)));
    TestVolume volume = ordinaryVolume();
    putBytes(volume.image, 0, ByteView(plain).first(512));
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::NotBitlocker);
}

TEST(RecognitionTest, FewerThan512BytesAreNotBitlocker)
{
    TestVolume volume = ordinaryVolume();
    for (size_t size : {size_t{0}, size_t{1}, size_t{511}}) {
        volume.image.resize(size);
        EXPECT_EQ(statusOf(volume.openWithPassword()), Status::NotBitlocker) << size;
    }
}

TEST(RecognitionTest, AnUnknownIdentifierIsNotBitlocker)
{
    TestVolume volume = ordinaryVolume();
    volume.image[160] ^= 1;
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::NotBitlocker);
}

TEST(RecognitionTest, AnOldFatVolumeWithTheToGoNameIsNotBitlocker)
{
    std::vector<uint8_t> fat(64 * 1024);
    putBytes(fat, 0, maker::ByteWriter().u16(0x58eb).result());
    fat[2] = 0x90;
    putBytes(fat, 3, maker::ByteWriter().text("MSWIN4.1").result());
    EXPECT_FALSE(VolumeOpener::recognises(MemoryByteSource(fat)));
}

// --- Sector size

TEST(SectorSizeTest, TheVolumeHeaderEntrySaysItWhenTheBootSectorDoesNot)
{
    maker::VolumeRecipe recipe = recipeWithPassword();
    recipe.sectorSize = 4096;
    recipe.sectorSizeInBootSector = false;
    const TestVolume volume(recipe);
    const Result<OpenedVolume> opened = volume.openWithPassword();
    EXPECT_TRUE(holdsPlain(opened, volume));
    EXPECT_EQ(opened->facts.sectorSize, 4096U);
}

TEST(SectorSizeTest, ThePlaintextShowsItWhenNothingElseDoes)
{
    for (uint32_t sectorSize : {512U, 1024U, 2048U, 4096U}) {
        maker::VolumeRecipe recipe = recipeWithPassword();
        recipe.sectorSize = sectorSize;
        recipe.sectorSizeInBootSector = false;
        recipe.headerEntry = maker::VolumeRecipe::HeaderEntry::None;
        const TestVolume volume(recipe);
        EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume)) << sectorSize;
    }
}

// --- Header entry

TEST(HeaderEntryTest, EveryFormOfItOpensAndNoneToo)
{
    for (auto form :
         {maker::VolumeRecipe::HeaderEntry::None, maker::VolumeRecipe::HeaderEntry::Short,
          maker::VolumeRecipe::HeaderEntry::Long}) {
        maker::VolumeRecipe recipe = recipeWithPassword();
        recipe.headerEntry = form;
        const TestVolume volume(recipe);
        EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
    }
}

TEST(HeaderEntryTest, ACopyThatContradictsItsHeaderEntryIsDamaged)
{
    TestVolume volume = ordinaryVolume();
    putU64(volume.image, findEntry(volume, 0, 0x0f) + 16, 4096);  // the length
    maker::renewChecksum(volume.image, volume.plan.copies[0]);
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(holdsPlain(opened, volume));
    EXPECT_EQ(opened->facts.metadataOffset, volume.plan.copies[1]);
    EXPECT_EQ(opened->facts.warnings.size(), 1U);
}

// --- Choosing a copy

TEST(MetadataCopiesTest, AnIntactVolumeGivesNoWarning)
{
    const TestVolume volume = ordinaryVolume();
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(opened);
    EXPECT_TRUE(opened->facts.warnings.empty());
    EXPECT_EQ(opened->facts.metadataOffset, volume.plan.copies[0]);
    EXPECT_TRUE(opened->facts.looksLikeFileSystem);
    EXPECT_EQ(opened->facts.description, "TESTHOST C: 1/2/2026");
}

TEST(MetadataCopiesTest, AnyOneOrTwoDamagedCopiesLeaveTheGoodOneAndAWarning)
{
    for (unsigned damaged = 1; damaged < 7; ++damaged) {
        TestVolume volume = ordinaryVolume();
        size_t warnings = 0;
        for (size_t copy = 0; copy < 3; ++copy) {
            if ((damaged >> copy & 1) == 0)
                continue;
            damageCopy(volume, copy);
            ++warnings;
        }
        const Result<OpenedVolume> opened = volume.openWithPassword();
        EXPECT_TRUE(holdsPlain(opened, volume)) << damaged;
        EXPECT_EQ(opened->facts.warnings.size(), warnings);
    }
}

TEST(MetadataCopiesTest, OnePointerThatSurvivesIsEnough)
{
    for (size_t survivor = 0; survivor < 3; ++survivor) {
        TestVolume volume = ordinaryVolume();
        for (size_t copy = 0; copy < 3; ++copy)
            if (copy != survivor)
                putU64(volume.image, kOrdinaryPointers + 8 * copy, 0);
        damageCopy(volume, survivor);
        const Result<OpenedVolume> opened = volume.openWithPassword();
        EXPECT_TRUE(holdsPlain(opened, volume)) << survivor;
        EXPECT_FALSE(opened->facts.warnings.empty());
    }
}

TEST(MetadataCopiesTest, APointerIntoNowhereIsPassedOver)
{
    TestVolume volume = ordinaryVolume();
    putU64(volume.image, kOrdinaryPointers, UINT64_MAX - 5);
    putU64(volume.image, kOrdinaryPointers + 8, volume.image.size() - 3);
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

TEST(MetadataCopiesTest, WithoutAnyPointerTheVolumeIsSearched)
{
    TestVolume volume = ordinaryVolume();
    putBytes(volume.image, kOrdinaryPointers, std::vector<uint8_t>(24));
    eraseSignature(volume, 0);
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

TEST(MetadataCopiesTest, ThreeErasedSignaturesAreDamagedMetadata)
{
    TestVolume volume = ordinaryVolume();
    for (size_t copy = 0; copy < 3; ++copy)
        eraseSignature(volume, copy);
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::DamagedMetadata);
}

TEST(MetadataCopiesTest, ThreeWrongChecksumsAreDamagedMetadata)
{
    TestVolume volume = ordinaryVolume();
    for (size_t copy = 0; copy < 3; ++copy)
        damageCopy(volume, copy);
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::DamagedMetadata);
}

TEST(MetadataCopiesTest, ACopyThatIsNotWhereItSaysIsNotUsed)
{
    TestVolume volume = ordinaryVolume();
    for (size_t copy = 0; copy < 3; ++copy) {
        for (size_t pointer = 0; pointer < 3; ++pointer)
            putU64(volume.image, volume.plan.copies[copy] + 32 + 8 * pointer, 512);
        maker::renewChecksum(volume.image, volume.plan.copies[copy]);
    }
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::DamagedMetadata);
}

TEST(MetadataCopiesTest, AVersionThatTheBootSectorContradictsIsDamage)
{
    TestVolume volume = ordinaryVolume();
    for (uint64_t copy : volume.plan.copies) {
        const uint16_t units =
            static_cast<uint16_t>(volume.image[copy + 8] + 256 * volume.image[copy + 9]);
        putU16(volume.image, copy + 8, static_cast<uint16_t>(units * 16));
        putU16(volume.image, copy + 10, 1);
        maker::renewChecksum(volume.image, copy);
    }
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::DamagedMetadata);
}

TEST(MetadataCopiesTest, TheCopyWithTheHighestNonceCounterIsUsed)
{
    maker::VolumeRecipe recipe = recipeWithPassword();
    recipe.nonceCounters = {20, 22, 21};
    const TestVolume volume(recipe);
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->facts.metadataOffset, volume.plan.copies[1]);
}

TEST(MetadataCopiesTest, ADamagedSectorKeyUnderARightChecksumIsTakenFromAnotherCopy)
{
    TestVolume volume = ordinaryVolume();
    volume.image[findEntry(volume, 0, 3) + 50] ^= 1;
    maker::renewChecksum(volume.image, volume.plan.copies[0]);
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(holdsPlain(opened, volume));
    EXPECT_EQ(opened->facts.metadataOffset, volume.plan.copies[1]);
    EXPECT_EQ(opened->facts.warnings.size(), 1U);
}

TEST(MetadataCopiesTest, AWrongDigestUnderARightChecksumIsNotUsed)
{
    TestVolume volume = ordinaryVolume();
    volume.image[findEntry(volume, 0, 7) + 8] ^= 1;  // a letter of the description
    maker::renewChecksum(volume.image, volume.plan.copies[0]);
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->facts.metadataOffset, volume.plan.copies[1]);
}

TEST(MetadataCopiesTest, ASectorKeyThatIsDamagedInEveryCopyIsDamagedMetadata)
{
    TestVolume volume = ordinaryVolume();
    for (size_t copy = 0; copy < 3; ++copy) {
        volume.image[findEntry(volume, copy, 3) + 50] ^= 1;
        maker::renewChecksum(volume.image, volume.plan.copies[copy]);
    }
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::DamagedMetadata);
    EXPECT_EQ(statusOf(volume.openWithPassword("wrong")), Status::WrongSecret);
}

TEST(MetadataCopiesTest, AProtectorThatIsDamagedInOneCopyIsTakenFromAnother)
{
    TestVolume volume = ordinaryVolume();
    volume.image[findEntry(volume, 0, 2) + 8 + 28 + 24] ^= 1;  // the salt
    maker::renewChecksum(volume.image, volume.plan.copies[0]);
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

TEST(MetadataCopiesTest, AnImageThatEndsBeforeTheFirstCopyIsTruncated)
{
    TestVolume volume = ordinaryVolume();
    volume.image.resize(volume.plan.copies[0]);
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::TruncatedImage);
}

// --- Entries

Status entriesStatus(ByteView bytes)
{
    const Result<std::vector<MetadataEntry>> entries = parseEntries(bytes);
    return entries ? Status::Ok : entries.error().status;
}

std::vector<uint8_t> entry(uint16_t size, uint16_t valueType, size_t dataSize)
{
    return maker::ByteWriter().u16(size).u16(0).u16(valueType).u16(1).zeros(dataSize).result();
}

TEST(MetadataEntriesTest, ASizeOfZeroOrTooFewBytesEndTheArray)
{
    EXPECT_EQ(parseEntries(entry(0, 1, 100))->size(), 0U);
    EXPECT_EQ(parseEntries(std::vector<uint8_t>(7, 0xff))->size(), 0U);
    EXPECT_EQ(parseEntries(entry(12, 1, 4 + 7))->size(), 1U);
}

TEST(MetadataEntriesTest, ASizeFromOneToSevenOrBeyondTheEndIsDamage)
{
    for (uint16_t size = 1; size < 8; ++size)
        EXPECT_EQ(entriesStatus(entry(size, 1, 8)), Status::DamagedMetadata) << size;
    EXPECT_EQ(entriesStatus(entry(17, 1, 8)), Status::DamagedMetadata);
    EXPECT_EQ(entriesStatus(entry(16, 1, 8)), Status::Ok);
}

TEST(MetadataEntriesTest, AValueThatIsTooShortForItsNestedEntriesIsDamage)
{
    EXPECT_EQ(entriesStatus(entry(8 + 27, 8, 27)), Status::DamagedMetadata);
    EXPECT_EQ(entriesStatus(entry(8 + 28, 8, 28)), Status::Ok);
}

TEST(MetadataEntriesTest, NestingDeeperThanThreeIsDamage)
{
    std::vector<uint8_t> bytes = entry(12, 4, 4);
    for (int depth = 1; depth <= 3; ++depth) {
        EXPECT_EQ(entriesStatus(bytes), Status::Ok) << depth;
        const auto size = static_cast<uint16_t>(12 + bytes.size());
        bytes = maker::ByteWriter().bytes(entry(size, 4, 4)).bytes(bytes).result();
    }
    EXPECT_EQ(entriesStatus(bytes), Status::DamagedMetadata);
}

TEST(Crc32Test, TheUsualCheckValueComesOut)
{
    const char *text = "123456789";
    EXPECT_EQ(Crc32().add({reinterpret_cast<const uint8_t *>(text), 9}).value(), 0xcbf43926U);
}

TEST(GuidTest, TheFirstThreeGroupsAreSwappedInText)
{
    EXPECT_EQ(kOrdinaryVolume.text(), "4967d63b-2e29-4ad8-8399-f6a339e3d001");
    EXPECT_EQ(kConvertingVolume.text(), "92a84d3b-dd80-4d0e-9e4e-b1e3284eaed8");
}

}  // namespace
}  // namespace vx::bitlocker
