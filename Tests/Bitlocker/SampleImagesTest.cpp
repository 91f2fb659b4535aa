// The decryptor against volumes that Windows encrypted. Skipped where the images are absent.
#include "SampleImages.h"
#include "Maker/ByteWriter.h"
#include "OverlaySource.h"
#include "TestVolume.h"

#include "ByteReader.h"
#include "Crc32.h"

#include <gtest/gtest.h>

#include <cctype>
#include <openssl/evp.h>

namespace vx::bitlocker {
namespace {

constexpr char kPlainCase[] = "bitlk-aes-xts-128";
constexpr char kStartupKeyCase[] = "bitlk-aes-xts-128-startup-key";
constexpr size_t kPiece = 4 * 1024 * 1024;

#define NEED_SAMPLE(name)                                                                          \
    do {                                                                                           \
        const std::string missing = SampleImages::Shared().Prepare(name);                          \
        if (!missing.empty())                                                                      \
            GTEST_SKIP() << "there is no " << missing;                                             \
    } while (false)

const SampleImage &Sample(const std::string &name)
{
    return SampleImages::Shared().Image(name);
}

std::shared_ptr<OverlaySource> Overlay(const std::string &name)
{
    return std::make_shared<OverlaySource>(SampleImages::Shared().Source(name));
}

Result<UnlockedVolume> Open(std::shared_ptr<const ByteSource> source, const Secret &secret)
{
    return VolumeOpener(std::move(source)).Open(secret);
}

Result<UnlockedVolume> Open(const std::string &name, const Secret &secret)
{
    return Open(SampleImages::Shared().Source(name), secret);
}

Secret Password(const std::string &text)
{
    return std::move(*Secret::FromPassword(text));
}

Secret FirstPassword(const std::string &name)
{
    return Password(Sample(name).passwords.at(0));
}

std::string HexText(const uint8_t *bytes, size_t count)
{
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
        text += digits;
    }
    return text;
}

std::string HashOf(const ByteSource &source)
{
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                    EVP_MD_CTX_free);
    EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr);
    std::vector<uint8_t> piece(kPiece);
    for (uint64_t offset = 0; offset < source.Size(); offset += kPiece) {
        const auto count = static_cast<size_t>(std::min<uint64_t>(kPiece, source.Size() - offset));
        if (Error error = source.ReadAt(offset, piece.data(), count))
            return error.detail;
        EVP_DigestUpdate(context.get(), piece.data(), count);
    }
    uint8_t digest[32];
    EVP_DigestFinal_ex(context.get(), digest, nullptr);
    return HexText(digest, sizeof digest);
}

// The offsets of the three copies, from the boot sector of an NTFS volume.
std::vector<uint64_t> CopiesOf(const ByteSource &source)
{
    const std::vector<uint8_t> boot = ReadBytes(source, 0, 512);
    ByteReader reader(boot, 176);
    return {reader.U64(), reader.U64(), reader.U64()};
}

// --- Every image with every secret

std::string CaseName(const testing::TestParamInfo<const char *> &info)
{
    return SampleImages::TestName(info.param);
}

class ReadableSampleTest : public testing::TestWithParam<const char *> {};

TEST_P(ReadableSampleTest, EverySecretGivesTheWholeVolume)
{
    NEED_SAMPLE(GetParam());
    const SampleImage &image = Sample(GetParam());
    ASSERT_EQ(image.plainHash.size(), 64U);
    for (const Secret &secret : image.Secrets(SampleImages::Shared().Folder())) {
        const Result<UnlockedVolume> opened = Open(GetParam(), secret);
        ASSERT_TRUE(opened) << opened.Failure().detail;
        EXPECT_TRUE(opened->facts.looksLikeFileSystem);
        EXPECT_EQ(HashOf(*opened->volume), image.plainHash);
    }
}

TEST_P(ReadableSampleTest, WrongPasswordsAreWrong)
{
    NEED_SAMPLE(GetParam());
    const SampleImage &image = Sample(GetParam());
    for (const std::string &right : image.passwords) {
        std::string capital = right;
        capital[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(capital[0])));
        for (const std::string &wrong : {right + "1", capital, std::string()})
            EXPECT_EQ(StatusOf(Open(GetParam(), Password(wrong))), Status::kWrongSecret);
    }
}

TEST_P(ReadableSampleTest, ItsRecoveryPasswordsAreThoseOfTheList)
{
    NEED_SAMPLE(GetParam());
    const SampleImage &image = Sample(GetParam());
    const std::multiset<std::string> expected(image.recoveryPasswords.begin(),
                                              image.recoveryPasswords.end());
    for (const Secret &secret : image.Secrets(SampleImages::Shared().Folder())) {
        VolumeOpener opener(SampleImages::Shared().Source(GetParam()));
        opener.KeepRecoveryPasswords();
        const Result<UnlockedVolume> opened = opener.Open(secret);
        ASSERT_TRUE(opened) << opened.Failure().detail;
        ASSERT_NE(opened->recoveryPasswords, nullptr);
        std::multiset<std::string> found;
        EXPECT_TRUE(opened->recoveryPasswords->Visit(
            [](void *context, const char *, const char *password) {
                static_cast<std::multiset<std::string> *>(context)->insert(password);
            },
            &found));
        EXPECT_EQ(found, expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, ReadableSampleTest, testing::ValuesIn(kReadableSamples),
                         CaseName);

class SampleWithoutMapTest : public testing::TestWithParam<const char *> {};

TEST_P(SampleWithoutMapTest, ItUnlocksAndReportsADamagedMap)
{
    NEED_SAMPLE(GetParam());
    for (const Secret &secret : Sample(GetParam()).Secrets(SampleImages::Shared().Folder()))
        EXPECT_EQ(StatusOf(Open(GetParam(), secret)), Status::kDamagedConversionMap);
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleWithoutMapTest, testing::ValuesIn(kSamplesWithoutMap),
                         CaseName);

TEST(SampleImagesTest, NoSampleIsLeftOut)
{
    NEED_SAMPLE(kPlainCase);
    EXPECT_EQ(SampleImages::Shared().Images().size(),
              std::size(kReadableSamples) + std::size(kSamplesWithoutMap));
}

// --- What single images are about

TEST(SampleImagesTest, TheThirdCopyOfTheMetadataIsUsedWhenTheOthersAreDamaged)
{
    NEED_SAMPLE("bitlk-aes-xts-128-crc");
    const Result<UnlockedVolume> opened =
        Open("bitlk-aes-xts-128-crc", FirstPassword("bitlk-aes-xts-128-crc"));
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->facts.metadataOffset,
              CopiesOf(*SampleImages::Shared().Source("bitlk-aes-xts-128-crc")).at(2));
    EXPECT_EQ(opened->facts.warnings.size(), 2U);
}

TEST(SampleImagesTest, ASecretChangesNothingOnTheSuspendedVolume)
{
    NEED_SAMPLE("bitlk-aes-xts-128-clearkey-only");
    const Result<UnlockedVolume> opened =
        Open("bitlk-aes-xts-128-clearkey-only", Password("anything"));
    ASSERT_TRUE(opened);
    EXPECT_EQ(HashOf(*opened->volume), Sample("bitlk-aes-xts-128-clearkey-only").plainHash);
}

TEST(SampleImagesTest, TheClearKeyOfThePartlyEncryptedVolumeUnlocksIt)
{
    const std::string name = "bitlk-partially-encrypted-aes-cbc-128";
    NEED_SAMPLE(name);
    EXPECT_EQ(StatusOf(Open(name, Secret::None())), Status::kDamagedConversionMap);
}

TEST(SampleImagesTest, AVolumeWithASmartCardHasNoProtectorForAPassword)
{
    NEED_SAMPLE("bitlk-aes-xts-128-smart-card");
    const Result<UnlockedVolume> opened = Open("bitlk-aes-xts-128-smart-card", Password("any"));
    ASSERT_EQ(StatusOf(opened), Status::kNoProtectorOfKind);
    EXPECT_TRUE(Contains(opened.Failure().detail, "smart card")) << opened.Failure().detail;
}

TEST(SampleImagesTest, APasswordReadAsLatin1IsWrong)
{
    NEED_SAMPLE("bitlk-aes-xts-128-unicode");
    std::string misread;
    for (char c : Sample("bitlk-aes-xts-128-unicode").passwords.at(0)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80)
            misread += static_cast<char>(0xc0 | byte >> 6);
        misread += static_cast<char>(byte < 0x80 ? byte : 0x80 | (byte & 0x3f));
    }
    EXPECT_EQ(StatusOf(Open("bitlk-aes-xts-128-unicode", Password(misread))), Status::kWrongSecret);
}

TEST(SampleImagesTest, TheRecoveryPasswordOfAnotherVolumeIsWrong)
{
    NEED_SAMPLE(kPlainCase);
    const std::string &other = Sample("bitlk-aes-xts-256").recoveryPasswords.at(0);
    EXPECT_EQ(StatusOf(Open(kPlainCase, *Secret::FromRecoveryPassword(other))),
              Status::kWrongSecret);
}

TEST(SampleImagesTest, AMistypedGroupOfARecoveryPasswordIsNamed)
{
    NEED_SAMPLE(kPlainCase);
    const std::string right = Sample(kPlainCase).recoveryPasswords.at(0);
    const std::string rest = right.substr(6);
    const std::string next = std::to_string(std::stoi(right.substr(0, 6)) + 1);
    for (const std::string &wrong :
         {next + rest, "720896" + rest, right.substr(1), "x" + right.substr(1)}) {
        const Result<Secret> secret = Secret::FromRecoveryPassword(wrong);
        ASSERT_FALSE(secret) << wrong;
        EXPECT_EQ(secret.Failure().status, Status::kMalformedSecret);
        EXPECT_TRUE(Contains(secret.Failure().detail, "group 1")) << secret.Failure().detail;
    }
    const Result<Secret> seven = Secret::FromRecoveryPassword(right.substr(7));
    ASSERT_FALSE(seven);
    EXPECT_EQ(seven.Failure().status, Status::kMalformedSecret);
}

// --- Startup keys

std::vector<uint8_t> KeyFileOf(const std::string &name)
{
    const std::string path = SampleImages::Shared().Folder() + "/" + Sample(name).keyFile;
    const std::unique_ptr<FileByteSource> file = std::move(*FileByteSource::Open(path));
    return ReadBytes(*file, 0, file->Size());
}

TEST(SampleImagesTest, TheKeyFileOfAnotherVolumeIsWrong)
{
    NEED_SAMPLE(kStartupKeyCase);
    const Result<Secret> other =
        Secret::FromStartupKey(KeyFileOf("bitlk-aes-xts-128-startup-key-win11"));
    ASSERT_TRUE(other);
    EXPECT_EQ(StatusOf(Open(kStartupKeyCase, *other)), Status::kWrongSecret);
}

TEST(SampleImagesTest, AKeyFileThatIsCutIsMalformed)
{
    NEED_SAMPLE(kStartupKeyCase);
    std::vector<uint8_t> bytes = KeyFileOf(kStartupKeyCase);
    bytes.resize(100);
    const Result<Secret> secret = Secret::FromStartupKey(bytes);
    ASSERT_FALSE(secret);
    EXPECT_EQ(secret.Failure().status, Status::kMalformedSecret);
}

TEST(SampleImagesTest, AVolumeWithoutAStartupKeyHasNoProtectorForOne)
{
    NEED_SAMPLE(kPlainCase);
    const Result<Secret> secret = Secret::FromStartupKey(KeyFileOf(kStartupKeyCase));
    ASSERT_TRUE(secret);
    EXPECT_EQ(StatusOf(Open(kPlainCase, *secret)), Status::kNoProtectorOfKind);
}

// --- Damage

class DamagedSampleTest : public testing::Test {
protected:
    void SetUp() override
    {
        NEED_SAMPLE(kPlainCase);
        _image = Overlay(kPlainCase);
        _copies = CopiesOf(*_image);
    }

    Result<UnlockedVolume> OpenDamaged() const { return Open(_image, FirstPassword(kPlainCase)); }

    // Opened, with the right contents, and with a warning.
    void ExpectRightWithWarning() const
    {
        const Result<UnlockedVolume> opened = OpenDamaged();
        ASSERT_TRUE(opened) << opened.Failure().detail;
        EXPECT_FALSE(opened->facts.warnings.empty());
        const Result<UnlockedVolume> sound = Open(kPlainCase, FirstPassword(kPlainCase));
        ASSERT_TRUE(sound);
        EXPECT_EQ(ReadBytes(*opened->volume, 0, kPiece), ReadBytes(*sound->volume, 0, kPiece));
    }

    std::shared_ptr<OverlaySource> _image;
    std::vector<uint64_t> _copies;
};

TEST_F(DamagedSampleTest, ThePlainBootSectorMakesItNoBitlockerVolume)
{
    _image->Put(0, MakePlainImage(512));
    EXPECT_EQ(StatusOf(OpenDamaged()), Status::kNotBitlocker);
}

TEST_F(DamagedSampleTest, ThreeOverwrittenSignaturesAreDamagedMetadata)
{
    for (uint64_t copy : _copies)
        _image->Put(copy, std::vector<uint8_t>(8));
    EXPECT_EQ(StatusOf(OpenDamaged()), Status::kDamagedMetadata);
}

TEST_F(DamagedSampleTest, ThreeOverwrittenChecksumsAreDamagedMetadata)
{
    for (uint64_t copy : _copies) {
        const std::vector<uint8_t> header = ReadBytes(*_image, copy, 64);
        const uint64_t covered = ByteReader(header, 8).U16() * 16U;
        _image->Put(copy + covered + 4, std::vector<uint8_t>(4));
    }
    EXPECT_EQ(StatusOf(OpenDamaged()), Status::kDamagedMetadata);
}

TEST_F(DamagedSampleTest, OneOrTwoZeroedPointersAndOverwrittenCopiesStillOpen)
{
    _image->Put(176, std::vector<uint8_t>(8));
    ExpectRightWithWarning();
    _image->Put(184, std::vector<uint8_t>(8));
    ExpectRightWithWarning();
    _image->Put(_copies[0], std::vector<uint8_t>(65536));
    ExpectRightWithWarning();
    _image->Put(_copies[2], std::vector<uint8_t>(200));
    ExpectRightWithWarning();
}

TEST_F(DamagedSampleTest, AFlippedBitInTheSectorKeyIsHealedByAnotherCopy)
{
    std::vector<uint8_t> area = ReadBytes(*_image, _copies[0], 65536);
    size_t at = 112;
    while (area[at + 2] != 3)
        at += area[at] + 256U * area[at + 1];
    area[at + 50] ^= 4;
    maker::RenewChecksum(area, 0);
    _image->Put(_copies[0], area);
    const Result<UnlockedVolume> opened = OpenDamaged();
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->facts.metadataOffset, _copies[1]);
    ExpectRightWithWarning();
}

TEST_F(DamagedSampleTest, AnImageThatIsCutBehindTheFirstCopyOpensAndFailsBehindItsEnd)
{
    _image->Cut(_copies[1]);
    const Result<UnlockedVolume> opened = OpenDamaged();
    ASSERT_TRUE(opened) << opened.Failure().detail;
    EXPECT_TRUE(opened->facts.truncated);
    EXPECT_TRUE(opened->facts.looksLikeFileSystem);
    EXPECT_EQ(opened->volume->Size(), SampleImages::Shared().Source(kPlainCase)->Size());
    uint8_t sector[512];
    EXPECT_FALSE(opened->volume->ReadAt(_copies[1] - 512, sector, 512));
    // The copy's own area is known to be zeros; what follows is missing.
    EXPECT_EQ(opened->volume->ReadAt(_copies[1] + 65536, sector, 512).status,
              Status::kTruncatedImage);
}

TEST_F(DamagedSampleTest, AnImageThatIsCutBeforeTheFirstCopyIsTruncated)
{
    _image->Cut(_copies[0]);
    EXPECT_EQ(StatusOf(OpenDamaged()), Status::kTruncatedImage);
}

}  // namespace
}  // namespace vx::bitlocker
