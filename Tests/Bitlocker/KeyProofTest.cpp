// What shows that a key of sectors is the right one, and what shows that it is not.
#include "Maker/ByteWriter.h"
#include "RawKeys.h"
#include "TestVolume.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace vx::bitlocker {
namespace {

constexpr uint64_t kMirror = 8192;
constexpr uint64_t kEncryptedBytes = 0x80000;

// A volume that is encrypted from 8 KiB to 512 KiB: its first sector can be read with any key, and
// its mirror of the table of files only with the right one.
maker::VolumeRecipe HalfEncrypted()
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.encryptedSize = kEncryptedBytes;
    recipe.state = 3;
    recipe.nextState = 1;
    recipe.rounds = kFewRounds;
    return recipe;
}

class KeyProofTest : public testing::Test {
protected:
    // Encrypts what the plain image has become.
    void Make(const maker::VolumeRecipe &recipe)
    {
        maker::MemorySink sink;
        relocated = maker::VolumeMaker(recipe).Make(MemoryByteSource(plain), sink).relocationOffset;
        image = sink.Bytes();
    }

    void PutPlain(uint64_t offset, const std::string &text)
    {
        std::copy(text.begin(), text.end(), plain.begin() + static_cast<ptrdiff_t>(offset));
    }

    // Whether it opens: with the key proven, or with a warning; else the status.
    std::string Answer(const std::string &key) const
    {
        const auto opened = OpenQuickly(std::make_shared<MemoryByteSource>(image), SectorKey(key));
        if (!opened)
            return opened.Failure().status == Status::kWrongSecret ? "refused" : "another failure";
        EXPECT_EQ(opened->facts.warnings.empty(), opened->facts.isKeyProven);
        return opened->facts.isKeyProven ? "proven" : "unknown";
    }
    std::string AnswerToRight() const { return Answer(SectorKeyText()); }
    std::string AnswerToWrong() const { return Answer(WithOtherDigit(SectorKeyText())); }

    std::vector<uint8_t> plain = MakePlainImage(1 << 20);
    std::vector<uint8_t> image;
    uint64_t relocated = 0;
};

TEST_F(KeyProofTest, ARecordOfNtfsProvesTheKeyWhereTheFirstSectorIsNotEncrypted)
{
    Make(HalfEncrypted());
    EXPECT_EQ(AnswerToRight(), "proven");
    EXPECT_EQ(AnswerToWrong(), "refused");
}

TEST_F(KeyProofTest, ARefusalNamesWhatOpensTheVolume)
{
    const TestVolume volume(HalfEncrypted());
    const auto opened = volume.Open(SectorKey(WithOtherDigit(SectorKeyText())));
    ASSERT_EQ(StatusOf(opened), Status::kWrongSecret);
    EXPECT_TRUE(Contains(opened.Failure().detail, "it is not the key of this volume"));
    EXPECT_TRUE(Contains(opened.Failure().detail, "the volume has: password"));
}

// The table of files lies beyond what is encrypted, its mirror does not, and the other way round.
TEST_F(KeyProofTest, EitherTheTableOrItsMirrorProvesTheKey)
{
    PutPlain(kMirror, "none");
    maker::PutU64(plain, 48, 40);
    PutPlain(40 * 4096, "FILE");
    Make(HalfEncrypted());
    EXPECT_EQ(AnswerToRight(), "proven");
    EXPECT_EQ(AnswerToWrong(), "refused");
    PutPlain(kMirror, "FILE");
    PutPlain(40 * 4096, "none");
    Make(HalfEncrypted());
    EXPECT_EQ(AnswerToRight(), "proven");
    EXPECT_EQ(AnswerToWrong(), "refused");
}

// Larger clusters than 64 KiB stand as a power of two.
TEST_F(KeyProofTest, TheTableIsFoundWhateverTheSizeOfClusters)
{
    plain.resize(4 << 20);
    plain[13] = 0xf8;
    maker::PutU64(plain, 56, 3);
    PutPlain(3 * 256 * 512, "FILE");
    Make(HalfEncrypted());
    EXPECT_EQ(AnswerToRight(), "proven");
    EXPECT_EQ(AnswerToWrong(), "refused");
}

TEST_F(KeyProofTest, ARecordThatIsNotEncryptedProvesNothing)
{
    maker::VolumeRecipe recipe = HalfEncrypted();
    recipe.encryptedSize = kMirror;
    Make(recipe);
    EXPECT_EQ(AnswerToRight(), "unknown");
    EXPECT_EQ(AnswerToWrong(), "unknown");
}

// Such a sector was wiped, or never read into the image: the right key is not refused for it.
TEST_F(KeyProofTest, AStoredSectorOfZerosRefutesNothing)
{
    Make(HalfEncrypted());
    std::fill_n(image.begin() + kMirror, 512, uint8_t{0});
    EXPECT_EQ(AnswerToRight(), "unknown");
}

TEST_F(KeyProofTest, ASectorThatCannotBeReadRefutesNothing)
{
    class Unreadable final : public MemoryByteSource {
    public:
        using MemoryByteSource::MemoryByteSource;

        Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
        {
            if (offset < kMirror + 512 && kMirror < offset + count)
                return SystemError(EIO, "read");
            return MemoryByteSource::ReadAt(offset, buffer, count);
        }
    };
    Make(HalfEncrypted());
    const auto opened =
        OpenQuickly(std::make_shared<Unreadable>(image), SectorKey(SectorKeyText()));
    ASSERT_TRUE(opened);
    EXPECT_FALSE(opened->facts.isKeyProven);
}

TEST_F(KeyProofTest, TheFirstRecordOfNtfsProvesTheKeyOfAVistaVolume)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.layout = Layout::kVista;
    recipe.method = Method::kAes128Elephant;
    recipe.rounds = kFewRounds;
    PutPlain(kMirror, "none");
    maker::PutU64(plain, 48, 40);
    PutPlain(40 * 4096, "FILE");
    Make(recipe);
    const std::string text = SectorKeyText(recipe.method);
    EXPECT_EQ(Answer(text), "proven");
    EXPECT_EQ(Answer(WithOtherDigit(text)), "refused");
}

TEST_F(KeyProofTest, TheBackupOfADamagedFirstSectorProvesTheKeyToo)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.rounds = kFewRounds;
    // The maker appends its metadata; the last sector of the volume is made to be a backup.
    recipe.copyOffsets = {0x20000, 0x40000, 0x60000};
    recipe.relocationOffset = 0x80000;
    std::copy_n(plain.begin(), 512, plain.end() - 512);
    std::fill_n(plain.begin(), 512, uint8_t{0x5a});
    Make(recipe);
    ASSERT_EQ(image.size(), plain.size());
    EXPECT_EQ(AnswerToRight(), "proven");
    EXPECT_EQ(AnswerToWrong(), "unknown");
}

// The boot sector of a volume that is being decrypted may be stored in the clear; it is right with
// any key.
TEST_F(KeyProofTest, APlainFirstSectorProvesNothingAndLeadsToWhatDoes)
{
    maker::VolumeRecipe recipe = HalfEncrypted();
    recipe.encryptedSize.reset();
    recipe.conversion.emplace();
    recipe.conversion->isEncrypted = [](uint64_t offset) { return offset < kEncryptedBytes; };
    Make(recipe);
    EXPECT_EQ(AnswerToRight(), "proven");
    EXPECT_EQ(AnswerToWrong(), "refused");
    recipe.conversion->isEncrypted = [](uint64_t offset) {
        return offset >= kEncryptedBytes && offset < kEncryptedBytes + 0x20000;
    };
    Make(recipe);
    EXPECT_EQ(AnswerToRight(), "unknown");
}

}  // namespace
}  // namespace vx::bitlocker
