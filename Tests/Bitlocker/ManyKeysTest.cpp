// Unlocking with many keys: in which order they are tried, what is said when none fits.
#include "KeyTexts.h"
#include "Maker/MadeUpBytes.h"
#include "Maker/StartupKeyFileWriter.h"
#include "TestVolume.h"

#include "StretchPlan.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

namespace vx::bitlocker {
namespace {

using maker::ProtectorRecipe;

maker::VolumeRecipe RecipeWith(std::vector<ProtectorRecipe> protectors)
{
    maker::VolumeRecipe recipe;
    recipe.protectors = std::move(protectors);
    return recipe;
}

ProtectorRecipe Recovery(const std::string &password, const Guid &identifier)
{
    ProtectorRecipe recipe = ProtectorRecipe::Recovery(password);
    recipe.identifier = identifier;
    return recipe;
}

// A well-formed recovery password for each number below 65536.
std::string MadeUpRecovery(unsigned number)
{
    char text[64];
    std::snprintf(text, sizeof text, "%06u-000011-000022-000033-000044-000055-000066-000077",
                  number * 11);
    return text;
}

std::string MadeUpKeyId(unsigned number)
{
    char text[64];
    std::snprintf(text, sizeof text, "%08X-0000-4000-8000-000000000000", number + 1);
    return text;
}

class ManyKeysTest : public testing::Test {
protected:
    Secret Ring(const std::string &text) const
    {
        return std::move(*Secret::FromKeyRing(_folder.WriteFile("ring.txt", text).c_str()));
    }

    Secret RecoveryFile(const std::string &text) const
    {
        return std::move(*Secret::FromRecoveryFile(_folder.WriteFile("key.txt", text).c_str()));
    }

    const TemporaryFolder _folder;
};

// --- The plan

// The metadata of a volume with the protectors.
std::vector<MetadataBlock> MetadataOf(const TestVolume &volume)
{
    const uint64_t copy = volume.plan.copies[0];
    const ByteView area = ByteView(volume.image).From(static_cast<size_t>(copy));
    return {*MetadataBlock::Parse(area.First(MetadataBlock::kAreaSize), copy)};
}

std::vector<std::pair<uint32_t, Guid>> StepsOf(const StretchPlan &plan)
{
    std::vector<std::pair<uint32_t, Guid>> steps;
    for (const StretchPlan::Step &step : plan.Steps())
        steps.emplace_back(step.key,
                           plan.Targets()[step.target].places.front().protector->identifier);
    return steps;
}

using Steps = std::vector<std::pair<uint32_t, Guid>>;

TEST_F(ManyKeysTest, KeysThatNameAProtectorComeFirstAndThoseThatNameAnotherOneLast)
{
    const TestVolume volume(
        RecipeWith({Recovery(kRecovery, kKeyGuid), Recovery(kOtherRecovery, kOtherKeyGuid)}));
    const Secret ring = Ring(MadeUpKeyId(7) + "," + MadeUpRecovery(1) + "\n" +  //
                             MadeUpRecovery(2) + "\n" +                         //
                             kOtherKeyId + "," + MadeUpRecovery(3) + "\n");
    ASSERT_EQ(ring.Keys().Size(), 3U);
    const std::vector<MetadataBlock> copies = MetadataOf(volume);
    const StretchPlan plan(copies, ring.Keys());
    EXPECT_EQ(StepsOf(plan), (Steps{{2, kOtherKeyGuid},
                                    {1, kKeyGuid},
                                    {1, kOtherKeyGuid},
                                    {0, kKeyGuid},
                                    {0, kOtherKeyGuid},
                                    {2, kKeyGuid}}));
    EXPECT_EQ(plan.LeftOut(), 0U);
}

TEST_F(ManyKeysTest, ManyKeysOfOtherVolumesAreLeftOut)
{
    const TestVolume volume(RecipeWith({Recovery(kRecovery, kKeyGuid)}));
    const std::vector<MetadataBlock> copies = MetadataOf(volume);
    std::string text;
    for (unsigned i = 0; i < 32; ++i)
        text += MadeUpKeyId(i) + " " + MadeUpRecovery(i) + "\n";
    const Secret few = Ring(text);
    EXPECT_EQ(StretchPlan(copies, few.Keys()).Steps().size(), 32U);
    const Secret many =
        Ring(text + MadeUpKeyId(32) + " " + MadeUpRecovery(32) + "\n" + MadeUpRecovery(100) + "\n");
    const StretchPlan plan(copies, many.Keys());
    EXPECT_EQ(StepsOf(plan), (Steps{{33, kKeyGuid}}));
    EXPECT_EQ(plan.LeftOut(), 33U);
}

// A key for each of them is stretched, but no key for hundreds of them.
TEST_F(ManyKeysTest, AVolumeThatClaimsHundredsOfProtectorsDoesNotMultiplyTheWork)
{
    std::vector<ProtectorRecipe> protectors(200, ProtectorRecipe::Recovery(kOtherRecovery));
    protectors.push_back(Recovery(kRecovery, kKeyGuid));
    const TestVolume volume(RecipeWith(protectors));
    const std::vector<MetadataBlock> copies = MetadataOf(volume);
    const Secret ring =
        Ring(MadeUpRecovery(1) + "\n" + MadeUpRecovery(2) + "\n" + kKeyId + " " + kRecovery + "\n");
    const StretchPlan plan(copies, ring.Keys());
    EXPECT_EQ(plan.Steps().front().key, 2U);
    EXPECT_LE(plan.Steps().size(), 1 + 3 * StretchPlan::kMostSalts);
    EXPECT_TRUE(HoldsPlain(volume.Open(ring), volume));
}

// --- What opens

TEST_F(ManyKeysTest, ARecoveryFileOpensInEveryLanguageAndEncoding)
{
    const TestVolume volume(
        RecipeWith({Recovery(kOtherRecovery, kOtherKeyGuid), Recovery(kRecovery, kKeyGuid)}));
    for (const std::string &saved : SavedKeys(kKeyId, kRecovery))
        for (const TextEncoding encoding : kAllEncodings)
            EXPECT_TRUE(HoldsPlain(volume.Open(RecoveryFile(Encoded(saved, encoding))), volume));
}

TEST_F(ManyKeysTest, ARecoveryFileWithAWrongIdentifierOpensNevertheless)
{
    const TestVolume volume(RecipeWith({Recovery(kRecovery, kKeyGuid)}));
    EXPECT_TRUE(
        HoldsPlain(volume.Open(RecoveryFile(std::string(kOtherKeyId) + "\n" + kRecovery)), volume));
}

TEST_F(ManyKeysTest, ARingOpensWithARecoveryPasswordOrAStartupKeyAndSaysWhich)
{
    const TestVolume byRecovery(RecipeWith({Recovery(kRecovery, kKeyGuid)}));
    std::string text;
    for (unsigned i = 0; i < 50; ++i)
        text += MadeUpRecovery(i) + "\n";
    const Result<UnlockedVolume> opened = byRecovery.Open(Ring(text + kRecovery + "\n"));
    ASSERT_TRUE(HoldsPlain(opened, byRecovery));
    EXPECT_EQ(opened->facts.protectorKind, ProtectorKind::kRecoveryPassword);
    EXPECT_EQ(opened->facts.protectorIdentifier, kKeyGuid);

    const TestVolume byStartupKey(
        RecipeWith({Recovery(kRecovery, kOtherKeyGuid), ProtectorRecipe::StartupKey(kKeyGuid)}));
    const std::vector<uint8_t> file = maker::MakeStartupKeyFile(kKeyGuid);
    _folder.WriteFile("ring/key.BEK", {reinterpret_cast<const char *>(file.data()), file.size()});
    _folder.WriteFile("ring/list.txt", text);
    const Secret ring = std::move(*Secret::FromKeyRing(_folder.At("ring").c_str()));
    const Result<UnlockedVolume> started = byStartupKey.Open(ring);
    ASSERT_TRUE(HoldsPlain(started, byStartupKey));
    EXPECT_EQ(started->facts.protectorKind, ProtectorKind::kExternalKey);
}

// A key file may have lost its name: that of one protector with the key of another still opens.
TEST_F(ManyKeysTest, StartupKeysAreTriedFirstOnTheProtectorsThatTheyName)
{
    const TestVolume volume(RecipeWith(
        {ProtectorRecipe::StartupKey(kKeyGuid), ProtectorRecipe::StartupKey(kOtherKeyGuid)}));
    const auto write = [&](const std::string &name, const std::vector<uint8_t> &file) {
        _folder.WriteFile("ring/" + name,
                          {reinterpret_cast<const char *>(file.data()), file.size()});
    };
    std::vector<uint8_t> renamed = maker::MakeStartupKeyFile(kKeyGuid);
    const auto at =
        std::find_end(renamed.begin(), renamed.end(), kKeyGuid.bytes.begin(), kKeyGuid.bytes.end());
    ASSERT_NE(at, renamed.end());
    *at ^= 1;
    write("1.BEK", renamed);
    const auto open = [&] {
        return volume.Open(std::move(*Secret::FromKeyRing(_folder.At("ring").c_str())));
    };
    const Result<UnlockedVolume> byOther = open();
    ASSERT_TRUE(HoldsPlain(byOther, volume));
    EXPECT_EQ(byOther->facts.protectorIdentifier, kKeyGuid);
    write("2.BEK", maker::MakeStartupKeyFile(kOtherKeyGuid));
    const Result<UnlockedVolume> byName = open();
    ASSERT_TRUE(HoldsPlain(byName, volume));
    EXPECT_EQ(byName->facts.protectorIdentifier, kOtherKeyGuid);
}

// --- What is said when nothing opens

std::string FailureOf(const Result<UnlockedVolume> &opened, Status status)
{
    EXPECT_EQ(StatusOf(opened), status);
    return opened ? "opened" : opened.Failure().detail;
}

TEST_F(ManyKeysTest, ARecoveryFileOfAnotherVolumeIsSaidToBeSo)
{
    ProtectorRecipe password = ProtectorRecipe::Password(kPassword);
    password.identifier = Guid{{0x04, 0x03, 0x02, 0x01}};
    const TestVolume volume(RecipeWith({Recovery(kRecovery, kKeyGuid), password}));
    EXPECT_EQ(
        FailureOf(volume.Open(RecoveryFile(std::string(kOtherKeyId) + "\n" + kOtherRecovery)),
                  Status::kWrongSecret),
        "the recovery password in the file is for Key ID 5E6F7A8B, which this volume does not "
        "have; it was tried on recovery password (Key ID 1A2B3C4D); the volume also opens with "
        "password (Key ID 01020304)");
    EXPECT_EQ(
        FailureOf(volume.Open(RecoveryFile(std::string(kKeyId) + "\n" + kOtherRecovery)),
                  Status::kWrongSecret),
        "the recovery password in the file is said to be the one of this volume, Key ID "
        "1A2B3C4D, but is another one; it was tried on recovery password (Key ID 1A2B3C4D); the "
        "volume also opens with password (Key ID 01020304)");
    EXPECT_EQ(FailureOf(volume.Open(RecoveryFile(kOtherRecovery)), Status::kWrongSecret),
              "the recovery password in the file is another one; it was tried on recovery password "
              "(Key ID 1A2B3C4D); the volume also opens with password (Key ID 01020304)");
}

TEST_F(ManyKeysTest, ARingInWhichNothingFitsIsCountedAndTheKeyIdsThatAreWantedAreNamed)
{
    const TestVolume volume(
        RecipeWith({Recovery(kRecovery, kKeyGuid), ProtectorRecipe::StartupKey(kOtherKeyGuid)}));
    std::string text;
    for (unsigned i = 0; i < 40; ++i)
        text += MadeUpKeyId(i) + " " + MadeUpRecovery(i) + "\n";
    EXPECT_EQ(
        FailureOf(volume.Open(Ring(text + kOtherRecovery + "\n" +
                                   "000011-000022-000034-720885-111111-222222-333333-444444")),
                  Status::kWrongSecret),
        "none of the 41 recovery passwords in the key ring opens recovery password (Key ID "
        "1A2B3C4D); the volume also opens with startup key (Key ID 5E6F7A8B); 40 of them are "
        "for other Key IDs and were not tried: give one with the kind \"recovery\" to try it; 1 "
        "recovery password is mistyped: in ring.txt, line 42: group 3 is mistyped");
}

TEST_F(ManyKeysTest, ARingWithoutTheKindsThatAVolumeHasIsCountedToo)
{
    ProtectorRecipe password = ProtectorRecipe::Password(kPassword);
    password.identifier = kKeyGuid;
    const TestVolume volume(RecipeWith({password}));
    EXPECT_EQ(FailureOf(volume.Open(Ring(MadeUpRecovery(1) + "\n" + MadeUpRecovery(2))),
                        Status::kNoProtectorOfKind),
              "the key ring has 2 recovery passwords; the volume has: password (Key ID 1A2B3C4D)");
}

TEST_F(ManyKeysTest, APasswordThatFailsSaysWhereItWasTriedAndWhatElseOpens)
{
    ProtectorRecipe password = ProtectorRecipe::Password(kPassword);
    password.identifier = kKeyGuid;
    ProtectorRecipe tpm = ProtectorRecipe::OfKind(ProtectorKind::kTpm);
    tpm.identifier = Guid{{0x04, 0x03, 0x02, 0x01}};
    const TestVolume volume(RecipeWith({password, Recovery(kRecovery, kOtherKeyGuid), tpm}));
    EXPECT_EQ(
        FailureOf(volume.OpenWithPassword("wrong"), Status::kWrongSecret),
        "it was tried on password (Key ID 1A2B3C4D); the volume also opens with "
        "recovery password (Key ID 5E6F7A8B); the volume also has TPM (Key ID 01020304), which "
        "cannot be used here");
}

// --- How long it takes

struct Heard {
    VolumeOpeningStep step;
    uint64_t done;
    uint64_t total;
};

void Hear(void *context, VolumeOpeningStep step, uint64_t done, uint64_t total, uint32_t)
{
    static_cast<std::vector<Heard> *>(context)->push_back({step, done, total});
}

TEST_F(ManyKeysTest, TheNumberOfStretchingsIsReportedBeforeTheSearch)
{
    const TestVolume volume(
        RecipeWith({Recovery(kOtherRecovery, kOtherKeyGuid), Recovery(kRecovery, kKeyGuid)}));
    const auto source = std::make_shared<MemoryByteSource>(volume.image);
    std::vector<Heard> heard;
    const auto open = [&](const Secret &secret) {
        heard.clear();
        return StatusOf(
            VolumeOpener(source, nullptr, KeyStretcher(kFewRounds), {Hear, &heard}).Open(secret));
    };
    EXPECT_EQ(open(Ring(MadeUpRecovery(1) + "\n" + MadeUpRecovery(2) + "\n" + MadeUpRecovery(3))),
              Status::kWrongSecret);
    ASSERT_GE(heard.size(), 1U);
    EXPECT_EQ(heard[0].step, VolumeOpeningStep::kTryingSecrets);
    EXPECT_EQ(heard[0].done, 0U);
    EXPECT_EQ(heard[0].total, 6U);
    EXPECT_EQ(open(Secret::None()), Status::kNoProtectorOfKind);
    EXPECT_TRUE(heard.empty());
}

TEST_F(ManyKeysTest, ThatSomeKeysAreNotReadIsReportedBeforeTheSearch)
{
    const TestVolume volume(RecipeWith({Recovery(kRecovery, kKeyGuid)}));
    std::string text = std::string(kRecovery) + "\n";
    for (unsigned i = 0; i <= KeyList::kMost; ++i) {
        std::string password = MadeUpRecovery(i % 60000);
        password.replace(7, 6, i < 60000 ? "000011" : "000022");
        text += password + "\n";
    }
    std::vector<Heard> heard;
    const auto open = [&](const std::string &ring) {
        heard.clear();
        return StatusOf(VolumeOpener(std::make_shared<MemoryByteSource>(volume.image), nullptr,
                                     KeyStretcher(kFewRounds), {Hear, &heard})
                            .Open(Ring(ring)));
    };
    EXPECT_EQ(open(text), Status::kOk);
    ASSERT_GE(heard.size(), 2U);
    EXPECT_EQ(heard[0].step, VolumeOpeningStep::kKeysLeftOut);
    EXPECT_EQ(heard[0].total, KeyList::kMost);
    EXPECT_EQ(heard[1].step, VolumeOpeningStep::kTryingSecrets);
    EXPECT_EQ(open(MadeUpRecovery(1) + "\n" + kRecovery), Status::kOk);
    ASSERT_GE(heard.size(), 1U);
    EXPECT_EQ(heard[0].step, VolumeOpeningStep::kTryingSecrets);
}

TEST_F(ManyKeysTest, ASearchIsCancelledAtOnce)
{
    const TestVolume volume(RecipeWith({Recovery(kRecovery, kKeyGuid)}));
    const auto source = std::make_shared<MemoryByteSource>(volume.image);
    const Secret ring = Ring(MadeUpRecovery(1) + "\n" + MadeUpRecovery(2) + "\n" +
                             MadeUpRecovery(3) + "\n" + MadeUpRecovery(4));
    const CancelFlag cancel;
    std::vector<Heard> heard;
    std::promise<void> begun;
    const auto begin = [](void *context, VolumeOpeningStep, uint64_t, uint64_t, uint32_t) {
        static_cast<std::promise<void> *>(context)->set_value();
    };
    std::future<Status> status = std::async(std::launch::async, [&] {
        return StatusOf(
            VolumeOpener(source, &cancel, KeyStretcher(UINT64_MAX), {begin, &begun}).Open(ring));
    });
    ASSERT_EQ(begun.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
    CancelFlag::RaiseAll();
    ASSERT_EQ(status.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(status.get(), Status::kCancelled);
}

}  // namespace
}  // namespace vx::bitlocker
