// What a volume says about itself without a key.
#include "EncryptionFacts.h"
#include "Maker/ByteWriter.h"
#include "Maker/Entries.h"
#include "TestVolume.h"

#include <gtest/gtest.h>

namespace vx::bitlocker {
namespace {

using maker::ProtectorRecipe;
using maker::PutU64;
using Map = EncryptionFacts::MapReading;

constexpr size_t kPointers = 176;
constexpr uint64_t kChunk = 64 * 1024;

EncryptionFacts FactsOf(const std::vector<uint8_t> &image, Map map = Map::kAllowed)
{
    const Result<EncryptionFacts> facts = EncryptionFacts::Read(MemoryByteSource(image), map);
    EXPECT_TRUE(facts) << facts.Failure().detail;
    return facts ? *facts : EncryptionFacts();
}

EncryptionFacts FactsOf(const maker::VolumeRecipe &recipe)
{
    return FactsOf(TestVolume(recipe).image);
}

maker::VolumeRecipe InConversion(uint32_t direction, std::function<bool(uint64_t)> isEncrypted)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.conversion.emplace();
    recipe.conversion->direction = direction;
    recipe.conversion->isEncrypted = std::move(isEncrypted);
    return recipe;
}

TEST(EncryptionFactsTest, AnEncryptedVolumeSaysHowSinceWhenAndForWhom)
{
    for (const Layout layout : {Layout::kVista, Layout::kWindows7, Layout::kToGo}) {
        maker::VolumeRecipe recipe = RecipeWithPassword();
        recipe.layout = layout;
        recipe.method = Method::kAes256Cbc;
        recipe.sectorSize = 4096;
        const TestVolume volume(recipe);
        const EncryptionFacts facts = FactsOf(volume.image);
        EXPECT_EQ(facts.layout, layout);
        EXPECT_EQ(facts.state, EncryptionState::kEncrypted);
        EXPECT_EQ(facts.encryptedBytes, volume.image.size());
        EXPECT_EQ(facts.sectorBytes, 4096u);
        ASSERT_TRUE(facts.copy);
        EXPECT_EQ(facts.copy->method, static_cast<uint16_t>(Method::kAes256Cbc));
        EXPECT_EQ(facts.copy->created, maker::kSomeTime);
        EXPECT_EQ(facts.copy->description, "TESTHOST C: 1/2/2026");
        ASSERT_EQ(facts.copy->protectors.size(), 1u);
        EXPECT_EQ(facts.copy->protectors[0].changed, maker::kSomeTime);
        EXPECT_TRUE(facts.warnings.empty());
    }
}

// --- Copies of the metadata

TEST(EncryptionFactsTest, EveryCopyIsReportedWithWhatIsWrongWithIt)
{
    TestVolume volume(RecipeWithPassword(), 64 * 1024);
    volume.image[volume.plan.copies[0] + 130] ^= 0xff;
    PutU64(volume.image, volume.plan.copies[2], 0);
    const EncryptionFacts facts = FactsOf(volume.image);
    ASSERT_EQ(facts.examined.size(), 3u);
    for (size_t copy = 0; copy < 3; ++copy)
        EXPECT_EQ(facts.examined[copy].offset, volume.plan.copies[copy]);
    EXPECT_EQ(facts.examined[0].problem, "the checksum is wrong");
    EXPECT_EQ(facts.examined[1].problem, "");
    EXPECT_EQ(facts.examined[2].problem, "no signature or an unknown version");
    ASSERT_TRUE(facts.copy);
    EXPECT_EQ(facts.copy->offset, volume.plan.copies[1]);
}

TEST(EncryptionFactsTest, ACopyThatOnlyAnotherOneNamesIsReported)
{
    TestVolume volume(RecipeWithPassword(), 64 * 1024);
    PutU64(volume.image, kPointers, 0);
    const EncryptionFacts facts = FactsOf(volume.image);
    EXPECT_EQ(facts.examined.size(), 3u);
    ASSERT_EQ(facts.warnings.size(), 1u);
    EXPECT_EQ(facts.warnings[0], "the boot sector does not name every copy of the metadata");
}

TEST(EncryptionFactsTest, WithoutAUsableCopyNothingIsSearchedFor)
{
    TestVolume volume(RecipeWithPassword(), 64 * 1024);
    for (size_t copy = 0; copy < 3; ++copy)
        PutU64(volume.image, kPointers + 8 * copy, 512);
    const EncryptionFacts facts = FactsOf(volume.image);
    EXPECT_FALSE(facts.copy) << "a search finds three";
    EXPECT_EQ(facts.state, EncryptionState::kUnknown);
    EXPECT_EQ(facts.encryptedBytes, EncryptionFacts::kUnknownBytes);
    ASSERT_EQ(facts.examined.size(), 1u);
    EXPECT_EQ(facts.examined[0].problem, "no signature or an unknown version");
}

TEST(EncryptionFactsTest, TheNewestCopyCounts)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.nonceCounters = {20, 22, 21};
    const TestVolume volume(recipe);
    EXPECT_EQ(FactsOf(volume.image).copy->offset, volume.plan.copies[1]);
}

// --- How much is encrypted, by a boundary

TEST(EncryptionFactsTest, ABoundarySaysHowMuchIsEncryptedAndTheStateWhichWay)
{
    constexpr uint64_t kBoundary = 0x54200;
    const std::pair<uint16_t, EncryptionState> states[] = {
        {2, EncryptionState::kEncrypting}, {3, EncryptionState::kDecrypting},
        {4, EncryptionState::kEncrypted},  {5, EncryptionState::kPaused},
        {9, EncryptionState::kUnknown},
    };
    for (const auto &[stored, state] : states) {
        maker::VolumeRecipe recipe = RecipeWithPassword();
        recipe.encryptedSize = kBoundary;
        recipe.state = stored;
        recipe.nextState = 1;
        const EncryptionFacts facts = FactsOf(recipe);
        EXPECT_EQ(facts.state, state) << stored;
        EXPECT_EQ(facts.encryptedBytes, kBoundary) << stored;
    }
}

TEST(EncryptionFactsTest, ABoundaryAtTheBeginningIsThatOfADecryptedVolume)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.encryptedSize = 0;
    recipe.state = 5;
    EXPECT_EQ(FactsOf(recipe).state, EncryptionState::kDecrypted);
    EXPECT_EQ(FactsOf(recipe).encryptedBytes, 0u);
}

TEST(EncryptionFactsTest, OfVistaNothingIsKnownButACompleteEncryption)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.layout = Layout::kVista;
    recipe.state = 2;
    const EncryptionFacts facts = FactsOf(recipe);
    EXPECT_EQ(facts.state, EncryptionState::kUnknown);
    EXPECT_EQ(facts.encryptedBytes, EncryptionFacts::kUnknownBytes);
}

TEST(EncryptionFactsTest, AVolumeWhoseEndIsMissingStatesItsSize)
{
    TestVolume volume(RecipeWithPassword());
    const uint64_t whole = volume.image.size();
    volume.image.resize(whole - 4096);
    const EncryptionFacts facts = FactsOf(volume.image);
    EXPECT_EQ(facts.statedBytes, whole);
    EXPECT_EQ(facts.encryptedBytes, whole - 4096);
    EXPECT_EQ(facts.state, EncryptionState::kEncrypted);
}

// --- How much is encrypted, by a map

TEST(EncryptionFactsTest, TheMapOfAConversionIsCounted)
{
    const auto isInFront = [](uint64_t offset) { return offset < 5 * kChunk; };
    const std::pair<uint32_t, EncryptionState> states[] = {
        {0, EncryptionState::kPaused},
        {1, EncryptionState::kEncrypting},
        {2, EncryptionState::kDecrypting},
    };
    for (const auto &[direction, state] : states) {
        const EncryptionFacts facts = FactsOf(InConversion(direction, isInFront));
        EXPECT_TRUE(facts.isConverting);
        EXPECT_EQ(facts.state, state) << direction;
        EXPECT_EQ(facts.encryptedBytes, 5 * kChunk) << direction;
    }
}

TEST(EncryptionFactsTest, AMapWithoutAPlainOrAnEncryptedChunkIsThatOfAFinishedConversion)
{
    const EncryptionFacts none = FactsOf(InConversion(2, [](uint64_t) { return false; }));
    EXPECT_EQ(none.state, EncryptionState::kDecrypted);
    EXPECT_EQ(none.encryptedBytes, 0u);
    const TestVolume volume(InConversion(1, [](uint64_t) { return true; }));
    const EncryptionFacts all = FactsOf(volume.image);
    EXPECT_EQ(all.state, EncryptionState::kEncrypted);
    EXPECT_EQ(all.encryptedBytes, volume.image.size());
}

TEST(EncryptionFactsTest, AConversionThatStoppedAmidAChunkIsNotFinished)
{
    maker::VolumeRecipe recipe = InConversion(1, [](uint64_t) { return true; });
    recipe.conversion->interruptedChunk = 8192 + 2 * kChunk;
    recipe.conversion->interruptedSectors = 3;
    EXPECT_EQ(FactsOf(recipe).state, EncryptionState::kEncrypting);
}

TEST(EncryptionFactsTest, ADamagedMapLeavesOpenHowMuchIsEncrypted)
{
    TestVolume volume(InConversion(1, [](uint64_t) { return true; }));
    for (const uint64_t copy : volume.plan.conversionOffsets)
        PutU64(volume.image, copy, 0);
    const EncryptionFacts facts = FactsOf(volume.image);
    EXPECT_EQ(facts.state, EncryptionState::kUnknown);
    EXPECT_EQ(facts.encryptedBytes, EncryptionFacts::kUnknownBytes);
    ASSERT_EQ(facts.warnings.size(), 1u);
    EXPECT_TRUE(Contains(facts.warnings[0], "which part of it is encrypted is not known"));
    ASSERT_TRUE(facts.copy) << "the rest is known";
}

TEST(EncryptionFactsTest, AMapThatMayNotBeReadIsNot)
{
    const TestVolume volume(InConversion(1, [](uint64_t) { return true; }));
    const EncryptionFacts facts = FactsOf(volume.image, Map::kForbidden);
    EXPECT_EQ(facts.state, EncryptionState::kUnknown);
    ASSERT_EQ(facts.warnings.size(), 1u);
    EXPECT_TRUE(Contains(facts.warnings[0], "too many volumes are in conversion"));
}

TEST(EncryptionFactsTest, WhatIsNoEncryptedVolumeHasNone)
{
    const MemoryByteSource plain(MakePlainImage(64 * 1024));
    const Result<EncryptionFacts> facts = EncryptionFacts::Read(plain, Map::kAllowed);
    ASSERT_FALSE(facts);
    EXPECT_EQ(facts.Failure().status, Status::kNotBitlocker);
}

// --- Names for programs

TEST(ProtectorNamesTest, EveryKindHasANameForPrograms)
{
    const std::pair<uint16_t, const char *> names[] = {
        {0x0000, "clear-key"},         {0x0100, "tpm"},
        {0x0200, "startup-key"},       {0x0300, "tpm-and-startup-key"},
        {0x0500, "tpm-and-pin"},       {0x0700, "tpm-pin-and-startup-key"},
        {0x0800, "recovery-password"}, {0x1000, "smart-card"},
        {0x2000, "password"},          {0x4000, "other"},
    };
    for (const auto &[number, name] : names)
        EXPECT_STREQ(ProtectorKindToken(static_cast<ProtectorKind>(number)), name);
}

}  // namespace
}  // namespace vx::bitlocker
