// Unlocking with the volume master key or the key of the sectors.
#include "Maker/ByteWriter.h"
#include "RawKeys.h"
#include "TestVolume.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace vx::bitlocker {
namespace {

// --- Master key

TEST(MasterKeyUnlockTest, ItOpensAVolumeWhateverItsProtectorsAre)
{
    maker::VolumeRecipe recipe;
    recipe.protectors = {maker::ProtectorRecipe::OfKind(ProtectorKind::kTpm)};
    for (const auto &protectors : {recipe.protectors, std::vector<maker::ProtectorRecipe>()}) {
        recipe.protectors = protectors;
        const TestVolume volume(recipe);
        const Result<UnlockedVolume> opened = volume.Open(MasterKey(MasterKeyText()));
        ASSERT_TRUE(HoldsPlain(opened, volume));
        EXPECT_EQ(opened->facts.unlockedBy, UnlockedBy::kMasterKey);
        EXPECT_TRUE(opened->facts.isKeyProven);
        EXPECT_TRUE(opened->facts.warnings.empty());
    }
}

TEST(MasterKeyUnlockTest, AnotherKeyIsAWrongSecretAndWhatOpensTheVolumeIsNamed)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.protectors[0].identifier = Guid{{0x4d, 0x3c, 0x2b, 0x1a}};
    const TestVolume volume(recipe);
    const Result<UnlockedVolume> opened = volume.Open(MasterKey(WithOtherDigit(MasterKeyText())));
    ASSERT_EQ(StatusOf(opened), Status::kWrongSecret);
    EXPECT_EQ(opened.Failure().detail,
              "the master key is another one; the volume opens with password (Key ID 1A2B3C4D)");
}

TEST(MasterKeyUnlockTest, ACopyWhoseSectorKeyIsDamagedIsPassedOver)
{
    TestVolume volume(RecipeWithPassword());
    volume.image[volume.plan.copies[0]] ^= 1;
    const Result<UnlockedVolume> opened = volume.Open(MasterKey(MasterKeyText()));
    ASSERT_TRUE(HoldsPlain(opened, volume));
    EXPECT_EQ(opened->facts.metadataOffset, volume.plan.copies[1]);
}

// --- Key of the sectors

struct SectorKeyCase {
    const char *name;
    Layout layout;
    Method method;
    uint32_t sectorSize;
    const char *methodText;
};

void PrintTo(const SectorKeyCase &value, std::ostream *out)
{
    *out << value.name;
}

class SectorKeyUnlockTest : public testing::TestWithParam<SectorKeyCase> {
protected:
    static maker::VolumeRecipe Recipe()
    {
        maker::VolumeRecipe recipe = RecipeWithPassword();
        recipe.layout = GetParam().layout;
        recipe.method = GetParam().method;
        recipe.sectorSize = GetParam().sectorSize;
        return recipe;
    }
    static std::string Text() { return SectorKeyText(GetParam().method); }
};

TEST_P(SectorKeyUnlockTest, ItOpensTheVolumeWithAndWithoutTheNameOfTheMethod)
{
    const TestVolume volume(Recipe());
    for (const std::string &text : {Text(), GetParam().methodText + (":" + Text())}) {
        const Result<UnlockedVolume> opened = volume.Open(SectorKey(text));
        ASSERT_TRUE(HoldsPlain(opened, volume));
        EXPECT_EQ(opened->facts.unlockedBy, UnlockedBy::kSectorKey);
        EXPECT_EQ(opened->facts.method, GetParam().method);
        EXPECT_TRUE(opened->facts.isKeyProven);
        EXPECT_TRUE(opened->facts.warnings.empty());
    }
}

TEST_P(SectorKeyUnlockTest, AnotherKeyIsNeverTakenForProven)
{
    const TestVolume volume(Recipe());
    const Result<UnlockedVolume> opened = volume.Open(SectorKey(WithOtherDigit(Text())));
    // The first sectors of a Vista volume are not encrypted, and lead to one that is.
    if (GetParam().layout == Layout::kVista) {
        EXPECT_EQ(StatusOf(opened), Status::kWrongSecret);
        return;
    }
    ASSERT_TRUE(opened);
    EXPECT_FALSE(opened->facts.isKeyProven);
    ASSERT_EQ(opened->facts.warnings.size(), 1U);
    EXPECT_TRUE(Contains(opened->facts.warnings[0], "nothing that could be read shows"));
}

INSTANTIATE_TEST_SUITE_P(
    Volumes, SectorKeyUnlockTest,
    testing::Values(
        SectorKeyCase{"Xts128", Layout::kWindows7, Method::kAes128Xts, 512, "aes-xts-128"},
        SectorKeyCase{"Xts256With4096", Layout::kWindows7, Method::kAes256Xts, 4096, "aes-xts-256"},
        SectorKeyCase{"Cbc128", Layout::kWindows7, Method::kAes128Cbc, 512, "aes-cbc-128"},
        SectorKeyCase{"Cbc256ToGo", Layout::kToGo, Method::kAes256Cbc, 512, "aes-cbc-256"},
        SectorKeyCase{"Elephant128", Layout::kWindows7, Method::kAes128Elephant, 512,
                      "aes-cbc-128-elephant"},
        SectorKeyCase{"Elephant256Vista", Layout::kVista, Method::kAes256Elephant, 512,
                      "aes-cbc-256-elephant"}),
    [](const testing::TestParamInfo<SectorKeyCase> &info) { return info.param.name; });

TEST(SectorKeyLengthTest, AKeyOfAnotherLengthIsMalformedAndTheMethodIsNamed)
{
    const TestVolume volume(RecipeWithPassword());
    const Result<UnlockedVolume> opened = volume.Open(SectorKey(SectorKeyText(Method::kAes256Xts)));
    ASSERT_EQ(StatusOf(opened), Status::kMalformedSecret);
    EXPECT_EQ(opened.Failure().detail, "AES-128-XTS takes a key of 32 bytes, and this one has 64");
}

TEST(SectorKeyLengthTest, AMethodThatContradictsTheMetadataIsRefusedAndTheRightOneIsNamed)
{
    const TestVolume volume(RecipeWithPassword());
    const Result<UnlockedVolume> opened = volume.Open(SectorKey("aes-cbc-256:" + SectorKeyText()));
    ASSERT_EQ(StatusOf(opened), Status::kWrongSecret);
    EXPECT_EQ(opened.Failure().detail,
              "the key is given as one of AES-256-CBC, but the volume is encrypted with "
              "AES-128-XTS: give it as one of that method, or without one");
}

TEST(SectorKeyLengthTest, AMethodIsBelievedWhereTheMetadataNamesNoneThatIsKnown)
{
    TestVolume volume(RecipeWithPassword());
    for (const uint64_t copy : volume.plan.copies) {
        maker::PutU16(volume.image, copy + 64 + 36, 0x8009);
        maker::RenewChecksum(volume.image, copy);
    }
    const Result<UnlockedVolume> opened = volume.Open(SectorKey("aes-xts-128:" + SectorKeyText()));
    ASSERT_TRUE(HoldsPlain(opened, volume));
    ASSERT_EQ(opened->facts.warnings.size(), 1U);
    EXPECT_EQ(opened->facts.warnings[0],
              "the key is given as one of AES-128-XTS, but the volume is "
              "encrypted with unknown method 0x8009");
}

// --- Without metadata

maker::VolumeRecipe ArrangedAsWindows10Does()
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.copyOffsets = {0x40000, 0x80000, 0xc0000};
    recipe.relocationOffset = 0x50000;
    return recipe;
}

// Where the maker's own data lies, the plain image is not.
bool HoldsPlainElsewhere(const Result<UnlockedVolume> &opened, const TestVolume &volume)
{
    return opened && ReadBytes(*opened->volume, 0, 0x40000) ==
                         std::vector<uint8_t>(volume.plain.begin(), volume.plain.begin() + 0x40000);
}

void WipeCopies(TestVolume &volume)
{
    for (const uint64_t copy : volume.plan.copies)
        std::fill_n(volume.image.begin() + static_cast<ptrdiff_t>(copy), 0x10000, uint8_t{0});
}

TEST(WithoutMetadataTest, TheHeaderOfADamagedCopySaysWhereTheSectorsAre)
{
    for (const Method method : {Method::kAes128Xts, Method::kAes128Cbc, Method::kAes256Elephant}) {
        maker::VolumeRecipe recipe = RecipeWithPassword();
        recipe.method = method;
        TestVolume volume(recipe);
        for (const uint64_t copy : volume.plan.copies)
            volume.image[copy + 200] ^= 1;
        ASSERT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedMetadata);
        const Result<UnlockedVolume> opened = volume.Open(SectorKey(SectorKeyText(method)));
        ASSERT_TRUE(HoldsPlain(opened, volume));
        EXPECT_EQ(opened->facts.method, method);
        EXPECT_EQ(opened->facts.warnings.size(), 1U);
    }
}

TEST(WithoutMetadataTest, WithoutAnyHeaderTheUsualArrangementIsTried)
{
    for (const Method method : {Method::kAes128Xts, Method::kAes256Xts, Method::kAes256Cbc}) {
        maker::VolumeRecipe recipe = ArrangedAsWindows10Does();
        recipe.method = method;
        TestVolume volume(recipe);
        WipeCopies(volume);
        const Result<UnlockedVolume> opened = volume.Open(SectorKey(SectorKeyText(method)));
        ASSERT_TRUE(HoldsPlainElsewhere(opened, volume));
        EXPECT_EQ(opened->facts.method, method);
        EXPECT_EQ(opened->facts.warnings.size(), 1U);
    }
}

TEST(WithoutMetadataTest, CopiesThatCannotBeReadAreDoneWithoutToo)
{
    class Unreadable final : public MemoryByteSource {
    public:
        using MemoryByteSource::MemoryByteSource;

        Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
        {
            for (const uint64_t copy : {0x40000U, 0x80000U, 0xc0000U})
                if (offset < copy + 512 && copy < offset + count)
                    return SystemError(EIO, "read");
            return MemoryByteSource::ReadAt(offset, buffer, count);
        }
    };
    const TestVolume volume(ArrangedAsWindows10Does());
    const auto source = std::make_shared<Unreadable>(volume.image);
    EXPECT_EQ(StatusOf(OpenQuickly(source, *Secret::FromPassword(kPassword))),
              Status::kSystemError);
    EXPECT_TRUE(HoldsPlainElsewhere(OpenQuickly(source, SectorKey(SectorKeyText())), volume));
}

TEST(WithoutMetadataTest, AWrongKeyOrAnotherArrangementIsRefusedAndNotGuessed)
{
    TestVolume usual(ArrangedAsWindows10Does());
    WipeCopies(usual);
    EXPECT_EQ(StatusOf(usual.Open(SectorKey(WithOtherDigit(SectorKeyText())))),
              Status::kDamagedMetadata);
    maker::VolumeRecipe recipe = ArrangedAsWindows10Does();
    recipe.relocationOffset = 0x60000;
    TestVolume unusual(recipe);
    WipeCopies(unusual);
    const Result<UnlockedVolume> opened = unusual.Open(SectorKey(SectorKeyText()));
    ASSERT_EQ(StatusOf(opened), Status::kDamagedMetadata);
    EXPECT_EQ(opened.Failure().detail,
              "none of its copies can be used; with what is left of it the "
              "key gives no file system");
}

TEST(WithoutMetadataTest, HeadersThatLeadNowhereAreRefused)
{
    for (const size_t field : {16, 28, 56}) {
        TestVolume volume(RecipeWithPassword());
        for (const uint64_t copy : volume.plan.copies) {
            maker::PutU32(volume.image, copy + field, 0xffffffff);
            maker::PutU32(volume.image, copy + field + 4, 0xffffffff);
        }
        const Result<UnlockedVolume> opened = volume.Open(SectorKey(SectorKeyText()));
        EXPECT_TRUE(!opened || HoldsPlain(opened, volume)) << field;
    }
}

}  // namespace
}  // namespace vx::bitlocker
