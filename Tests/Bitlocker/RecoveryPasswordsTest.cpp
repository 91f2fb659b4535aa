// The recovery passwords that an unlocked volume gives away.
#include "RecoveryPasswords.h"
#include "TestVolume.h"

#include <gtest/gtest.h>

namespace vx::bitlocker {
namespace {

using maker::ProtectorRecipe;
using Found = std::vector<std::pair<std::string, std::string>>;

Result<UnlockedVolume> OpenAndKeep(const TestVolume &volume, const Secret &secret)
{
    VolumeOpener opener(std::make_shared<MemoryByteSource>(volume.image), nullptr,
                        KeyStretcher(kFewRounds));
    opener.KeepRecoveryPasswords();
    return opener.Open(secret);
}

struct Visited {
    bool areAll = false;
    Found found;  // identifiers and passwords
};

Visited VisitOf(const RecoveryPasswords &passwords)
{
    Visited visited;
    visited.areAll = passwords.Visit(
        [](void *context, const char *identifier, const char *password) {
            static_cast<Found *>(context)->emplace_back(identifier, password);
        },
        &visited.found);
    return visited;
}

std::string DigitsOf(const std::vector<uint8_t> &bytes)
{
    std::string digits;
    for (const uint8_t byte : bytes) {
        char two[3];
        std::snprintf(two, sizeof two, "%02x", byte);
        digits += two;
    }
    return digits;
}

ProtectorRecipe Recovery(const std::string &text, uint8_t number)
{
    ProtectorRecipe recipe = ProtectorRecipe::Recovery(text);
    recipe.identifier = Guid{{0, 0, 0, number}};
    return recipe;
}

std::string IdentifierOf(uint8_t number)
{
    return Guid{{0, 0, 0, number}}.Capitals();
}

maker::VolumeRecipe RecipeWithTwo()
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.protectors.push_back(Recovery(kRecovery, 0x11));
    recipe.protectors.push_back(Recovery(kOtherRecovery, 0x22));
    return recipe;
}

TEST(RecoveryPasswordsTest, EachOneIsFoundWhateverTheVolumeWasUnlockedWith)
{
    maker::VolumeRecipe recipe = RecipeWithTwo();
    recipe.protectors.push_back(ProtectorRecipe::ClearKey());
    const TestVolume suspended(recipe);
    recipe.protectors.pop_back();
    const TestVolume volume(recipe);
    const std::string masterKey = DigitsOf(maker::MadeUpBytes(recipe.seed).Bytes("master key", 32));
    const Found expected = {{IdentifierOf(0x11), kRecovery}, {IdentifierOf(0x22), kOtherRecovery}};
    const auto check = [&](const Result<UnlockedVolume> &opened) {
        ASSERT_TRUE(opened) << opened.Failure().detail;
        ASSERT_NE(opened->recoveryPasswords, nullptr);
        const Visited visited = VisitOf(*opened->recoveryPasswords);
        EXPECT_TRUE(visited.areAll);
        EXPECT_EQ(visited.found, expected);
    };
    check(OpenAndKeep(volume, *Secret::FromPassword(kPassword)));
    check(OpenAndKeep(volume, *Secret::FromRecoveryPassword(kRecovery)));
    check(OpenAndKeep(volume, *Secret::FromRecoveryPassword(kOtherRecovery)));
    check(OpenAndKeep(volume, *Secret::FromMasterKey(masterKey.c_str())));
    check(OpenAndKeep(suspended, Secret::None()));
}

TEST(RecoveryPasswordsTest, TheKeyOfTheSectorsLeadsToNone)
{
    const maker::VolumeRecipe recipe = RecipeWithTwo();
    const std::string key = DigitsOf(maker::MadeUpBytes(recipe.seed).Bytes("sector key", 32));
    const Result<UnlockedVolume> opened =
        OpenAndKeep(TestVolume(recipe), *Secret::FromSectorKey(key.c_str()));
    ASSERT_TRUE(opened) << opened.Failure().detail;
    EXPECT_EQ(opened->recoveryPasswords, nullptr);
}

TEST(RecoveryPasswordsTest, NoneAreKeptUnlessThatWasWanted)
{
    const TestVolume volume(RecipeWithTwo());
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->recoveryPasswords, nullptr);
}

TEST(RecoveryPasswordsTest, ADamagedOneIsReportedAndTheOthersAreFound)
{
    maker::VolumeRecipe recipe = RecipeWithTwo();
    recipe.protectors[1].damagedSecret = true;
    const Result<UnlockedVolume> opened =
        OpenAndKeep(TestVolume(recipe), *Secret::FromPassword(kPassword));
    ASSERT_TRUE(opened && opened->recoveryPasswords);
    const Visited visited = VisitOf(*opened->recoveryPasswords);
    EXPECT_FALSE(visited.areAll);
    EXPECT_EQ(visited.found, (Found{{IdentifierOf(0x22), kOtherRecovery}}));
}

TEST(RecoveryPasswordsTest, OneThatIsThereTwiceIsVisitedOnce)
{
    maker::VolumeRecipe recipe = RecipeWithTwo();
    recipe.protectors.push_back(Recovery(kRecovery, 0x11));
    recipe.protectors.push_back(Recovery(kRecovery, 0x33));
    const Result<UnlockedVolume> opened =
        OpenAndKeep(TestVolume(recipe), *Secret::FromPassword(kPassword));
    ASSERT_TRUE(opened && opened->recoveryPasswords);
    const Visited visited = VisitOf(*opened->recoveryPasswords);
    EXPECT_TRUE(visited.areAll);
    EXPECT_EQ(visited.found, (Found{{IdentifierOf(0x11), kRecovery},
                                    {IdentifierOf(0x22), kOtherRecovery},
                                    {IdentifierOf(0x33), kRecovery}}));
}

TEST(RecoveryPasswordsTest, AVolumeWithoutAnyHasAllOfThem)
{
    const Result<UnlockedVolume> opened =
        OpenAndKeep(TestVolume(RecipeWithPassword()), *Secret::FromPassword(kPassword));
    ASSERT_TRUE(opened && opened->recoveryPasswords);
    const Visited visited = VisitOf(*opened->recoveryPasswords);
    EXPECT_TRUE(visited.areAll);
    EXPECT_TRUE(visited.found.empty());
}

TEST(RecoveryPasswordsTest, AnotherMasterKeyFindsNone)
{
    const TestVolume volume(RecipeWithTwo());
    const auto block = MetadataBlock::Parse(ByteView(volume.image).From(volume.plan.copies[0]),
                                            volume.plan.copies[0]);
    ASSERT_TRUE(block);
    const Visited visited = VisitOf(RecoveryPasswords(block->protectors, KeyMaterial(32).View()));
    EXPECT_FALSE(visited.areAll);
    EXPECT_TRUE(visited.found.empty());
}

}  // namespace
}  // namespace vx::bitlocker
