// The decryptor against volumes that Windows encrypted. Skipped where the images are absent.
#include "SampleImages.h"
#include "Maker/ByteWriter.h"
#include "OverlaySource.h"
#include "TestVolume.h"

#include "Bitlocker/ByteReader.h"
#include "Bitlocker/Crc32.h"

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
        const std::string missing = SampleImages::shared().prepare(name);                          \
        if (!missing.empty())                                                                      \
            GTEST_SKIP() << "there is no " << missing;                                             \
    } while (false)

const SampleImage &sample(const std::string &name)
{
    return SampleImages::shared().image(name);
}

std::shared_ptr<OverlaySource> overlay(const std::string &name)
{
    return std::make_shared<OverlaySource>(SampleImages::shared().source(name));
}

Result<OpenedVolume> open(std::shared_ptr<const ByteSource> source, const Secret &secret)
{
    return VolumeOpener().open(std::move(source), secret);
}

Result<OpenedVolume> open(const std::string &name, const Secret &secret)
{
    return open(SampleImages::shared().source(name), secret);
}

Secret password(const std::string &text)
{
    return std::move(*Secret::password(text));
}

Secret firstPassword(const std::string &name)
{
    return password(sample(name).passwords.at(0));
}

std::string hexText(const uint8_t *bytes, size_t count)
{
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
        text += digits;
    }
    return text;
}

std::string hashOf(const ByteSource &source)
{
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                    EVP_MD_CTX_free);
    EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr);
    std::vector<uint8_t> piece(kPiece);
    for (uint64_t offset = 0; offset < source.size(); offset += kPiece) {
        const auto count = static_cast<size_t>(std::min<uint64_t>(kPiece, source.size() - offset));
        if (Error error = source.readAt(offset, piece.data(), count))
            return describe(error);
        EVP_DigestUpdate(context.get(), piece.data(), count);
    }
    uint8_t digest[32];
    EVP_DigestFinal_ex(context.get(), digest, nullptr);
    return hexText(digest, sizeof digest);
}

// The offsets of the three copies, from the boot sector of an NTFS volume.
std::vector<uint64_t> copiesOf(const ByteSource &source)
{
    const std::vector<uint8_t> boot = readBytes(source, 0, 512);
    ByteReader reader(boot, 176);
    return {reader.u64(), reader.u64(), reader.u64()};
}

// --- Every image with every secret

// The names are fixed here so that a test is listed, and skipped, where the folder is absent.
const char *const kReadable[] = {
    "ntfs-cbc128",
    "tree-ntfs-xts128",
    "tree-fat16-cbc128",
    "bitlk-aes-cbc-128",
    "bitlk-aes-cbc-256",
    "bitlk-aes-xts-128",
    "bitlk-aes-xts-256",
    "bitlk-aes-cbc-elephant-128",
    "bitlk-aes-cbc-elephant-256",
    "bitlk-togo-aes-cbc-128",
    "bitlk-togo-aes-xts-128",
    "bitlk-aes-cbc-128-4k",
    "bitlk-aes-xts-128-4k",
    "bitlk-aes-xts-128-new-entry",
    "bitlk-aes-xts-128-smart-card",
    "bitlk-aes-xts-128-startup-key",
    "bitlk-aes-xts-128-startup-key-win11",
    "bitlk-aes-xts-128-two-recovery",
    "bitlk-aes-xts-128-unicode",
    "bitlk-aes-xts-128-crc",
    "bitlk-aes-xts-128-clearkey-only",
    "bitlk-aes-xts-128-first-recovery",
};
const char *const kWithoutMap[] = {"bitlk-aes-xts-128-eow",
                                   "bitlk-partially-encrypted-aes-cbc-128"};

std::string caseName(const testing::TestParamInfo<const char *> &info)
{
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

class ReadableSampleTest : public testing::TestWithParam<const char *> {};

TEST_P(ReadableSampleTest, EverySecretGivesTheWholeVolume)
{
    NEED_SAMPLE(GetParam());
    const SampleImage &image = sample(GetParam());
    ASSERT_EQ(image.plainHash.size(), 64U);
    for (const Secret &secret : image.secrets(SampleImages::shared().folder())) {
        const Result<OpenedVolume> opened = open(GetParam(), secret);
        ASSERT_TRUE(opened) << describe(opened.error());
        EXPECT_TRUE(opened->facts.looksLikeFileSystem);
        EXPECT_EQ(hashOf(*opened->volume), image.plainHash);
    }
}

TEST_P(ReadableSampleTest, WrongPasswordsAreWrong)
{
    NEED_SAMPLE(GetParam());
    const SampleImage &image = sample(GetParam());
    for (const std::string &right : image.passwords) {
        std::string capital = right;
        capital[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(capital[0])));
        for (const std::string &wrong : {right + "1", capital, std::string()})
            EXPECT_EQ(statusOf(open(GetParam(), password(wrong))), Status::WrongSecret);
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, ReadableSampleTest, testing::ValuesIn(kReadable), caseName);

class SampleWithoutMapTest : public testing::TestWithParam<const char *> {};

TEST_P(SampleWithoutMapTest, ItUnlocksAndReportsADamagedMap)
{
    NEED_SAMPLE(GetParam());
    for (const Secret &secret : sample(GetParam()).secrets(SampleImages::shared().folder()))
        EXPECT_EQ(statusOf(open(GetParam(), secret)), Status::DamagedConversionMap);
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleWithoutMapTest, testing::ValuesIn(kWithoutMap), caseName);

TEST(SampleImagesTest, NoSampleIsLeftOut)
{
    NEED_SAMPLE(kPlainCase);
    EXPECT_EQ(SampleImages::shared().images().size(),
              std::size(kReadable) + std::size(kWithoutMap));
}

// --- What single images are about

TEST(SampleImagesTest, TheThirdCopyOfTheMetadataIsUsedWhenTheOthersAreDamaged)
{
    NEED_SAMPLE("bitlk-aes-xts-128-crc");
    const Result<OpenedVolume> opened =
        open("bitlk-aes-xts-128-crc", firstPassword("bitlk-aes-xts-128-crc"));
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->facts.metadataOffset,
              copiesOf(*SampleImages::shared().source("bitlk-aes-xts-128-crc")).at(2));
    EXPECT_EQ(opened->facts.warnings.size(), 2U);
}

TEST(SampleImagesTest, ASecretChangesNothingOnTheSuspendedVolume)
{
    NEED_SAMPLE("bitlk-aes-xts-128-clearkey-only");
    const Result<OpenedVolume> opened =
        open("bitlk-aes-xts-128-clearkey-only", password("anything"));
    ASSERT_TRUE(opened);
    EXPECT_EQ(hashOf(*opened->volume), sample("bitlk-aes-xts-128-clearkey-only").plainHash);
}

TEST(SampleImagesTest, TheClearKeyOfThePartlyEncryptedVolumeUnlocksIt)
{
    const std::string name = "bitlk-partially-encrypted-aes-cbc-128";
    NEED_SAMPLE(name);
    EXPECT_EQ(statusOf(open(name, Secret::none())), Status::DamagedConversionMap);
}

TEST(SampleImagesTest, AVolumeWithASmartCardHasNoProtectorForAPassword)
{
    NEED_SAMPLE("bitlk-aes-xts-128-smart-card");
    const Result<OpenedVolume> opened = open("bitlk-aes-xts-128-smart-card", password("any"));
    ASSERT_EQ(statusOf(opened), Status::NoProtectorOfKind);
    EXPECT_TRUE(contains(opened.error().detail, "smart card")) << opened.error().detail;
}

TEST(SampleImagesTest, APasswordReadAsLatin1IsWrong)
{
    NEED_SAMPLE("bitlk-aes-xts-128-unicode");
    std::string misread;
    for (char c : sample("bitlk-aes-xts-128-unicode").passwords.at(0)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80)
            misread += static_cast<char>(0xc0 | byte >> 6);
        misread += static_cast<char>(byte < 0x80 ? byte : 0x80 | (byte & 0x3f));
    }
    EXPECT_EQ(statusOf(open("bitlk-aes-xts-128-unicode", password(misread))), Status::WrongSecret);
}

TEST(SampleImagesTest, TheRecoveryPasswordOfAnotherVolumeIsWrong)
{
    NEED_SAMPLE(kPlainCase);
    const std::string &other = sample("bitlk-aes-xts-256").recoveryPasswords.at(0);
    EXPECT_EQ(statusOf(open(kPlainCase, *Secret::recoveryPassword(other))), Status::WrongSecret);
}

TEST(SampleImagesTest, AMistypedGroupOfARecoveryPasswordIsNamed)
{
    NEED_SAMPLE(kPlainCase);
    const std::string right = sample(kPlainCase).recoveryPasswords.at(0);
    const std::string rest = right.substr(6);
    const std::string next = std::to_string(std::stoi(right.substr(0, 6)) + 1);
    for (const std::string &wrong :
         {next + rest, "720896" + rest, right.substr(1), "x" + right.substr(1)}) {
        const Result<Secret> secret = Secret::recoveryPassword(wrong);
        ASSERT_FALSE(secret) << wrong;
        EXPECT_EQ(secret.error().status, Status::MalformedSecret);
        EXPECT_TRUE(contains(secret.error().detail, "group 1")) << secret.error().detail;
    }
    const Result<Secret> seven = Secret::recoveryPassword(right.substr(7));
    ASSERT_FALSE(seven);
    EXPECT_EQ(seven.error().status, Status::MalformedSecret);
}

// --- Startup keys

std::vector<uint8_t> keyFileOf(const std::string &name)
{
    const std::string path = SampleImages::shared().folder() + "/" + sample(name).keyFile;
    const std::unique_ptr<FileByteSource> file = std::move(*FileByteSource::open(path));
    return readBytes(*file, 0, file->size());
}

TEST(SampleImagesTest, TheKeyFileOfAnotherVolumeIsWrong)
{
    NEED_SAMPLE(kStartupKeyCase);
    const Result<Secret> other =
        Secret::startupKey(keyFileOf("bitlk-aes-xts-128-startup-key-win11"));
    ASSERT_TRUE(other);
    EXPECT_EQ(statusOf(open(kStartupKeyCase, *other)), Status::WrongSecret);
}

TEST(SampleImagesTest, AKeyFileThatIsCutIsMalformed)
{
    NEED_SAMPLE(kStartupKeyCase);
    std::vector<uint8_t> bytes = keyFileOf(kStartupKeyCase);
    bytes.resize(100);
    const Result<Secret> secret = Secret::startupKey(bytes);
    ASSERT_FALSE(secret);
    EXPECT_EQ(secret.error().status, Status::MalformedSecret);
}

TEST(SampleImagesTest, AVolumeWithoutAStartupKeyHasNoProtectorForOne)
{
    NEED_SAMPLE(kPlainCase);
    const Result<Secret> secret = Secret::startupKey(keyFileOf(kStartupKeyCase));
    ASSERT_TRUE(secret);
    EXPECT_EQ(statusOf(open(kPlainCase, *secret)), Status::NoProtectorOfKind);
}

// --- Damage

class DamagedSampleTest : public testing::Test {
protected:
    void SetUp() override
    {
        NEED_SAMPLE(kPlainCase);
        _image = overlay(kPlainCase);
        _copies = copiesOf(*_image);
    }

    Result<OpenedVolume> openDamaged() const { return open(_image, firstPassword(kPlainCase)); }

    // Opened, with the right contents, and with a warning.
    void expectRightWithWarning() const
    {
        const Result<OpenedVolume> opened = openDamaged();
        ASSERT_TRUE(opened) << describe(opened.error());
        EXPECT_FALSE(opened->facts.warnings.empty());
        const Result<OpenedVolume> sound = open(kPlainCase, firstPassword(kPlainCase));
        ASSERT_TRUE(sound);
        EXPECT_EQ(readBytes(*opened->volume, 0, kPiece), readBytes(*sound->volume, 0, kPiece));
    }

    std::shared_ptr<OverlaySource> _image;
    std::vector<uint64_t> _copies;
};

TEST_F(DamagedSampleTest, ThePlainBootSectorMakesItNoBitlockerVolume)
{
    _image->put(0, makePlainImage(512));
    EXPECT_EQ(statusOf(openDamaged()), Status::NotBitlocker);
}

TEST_F(DamagedSampleTest, ThreeOverwrittenSignaturesAreDamagedMetadata)
{
    for (uint64_t copy : _copies)
        _image->put(copy, std::vector<uint8_t>(8));
    EXPECT_EQ(statusOf(openDamaged()), Status::DamagedMetadata);
}

TEST_F(DamagedSampleTest, ThreeOverwrittenChecksumsAreDamagedMetadata)
{
    for (uint64_t copy : _copies) {
        const std::vector<uint8_t> header = readBytes(*_image, copy, 64);
        const uint64_t covered = ByteReader(header, 8).u16() * 16U;
        _image->put(copy + covered + 4, std::vector<uint8_t>(4));
    }
    EXPECT_EQ(statusOf(openDamaged()), Status::DamagedMetadata);
}

TEST_F(DamagedSampleTest, OneOrTwoZeroedPointersAndOverwrittenCopiesStillOpen)
{
    _image->put(176, std::vector<uint8_t>(8));
    expectRightWithWarning();
    _image->put(184, std::vector<uint8_t>(8));
    expectRightWithWarning();
    _image->put(_copies[0], std::vector<uint8_t>(65536));
    expectRightWithWarning();
    _image->put(_copies[2], std::vector<uint8_t>(200));
    expectRightWithWarning();
}

TEST_F(DamagedSampleTest, AFlippedBitInTheSectorKeyIsHealedByAnotherCopy)
{
    std::vector<uint8_t> area = readBytes(*_image, _copies[0], 65536);
    size_t at = 112;
    while (area[at + 2] != 3)
        at += area[at] + 256U * area[at + 1];
    area[at + 50] ^= 4;
    maker::renewChecksum(area, 0);
    _image->put(_copies[0], area);
    const Result<OpenedVolume> opened = openDamaged();
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->facts.metadataOffset, _copies[1]);
    expectRightWithWarning();
}

TEST_F(DamagedSampleTest, AnImageThatIsCutBehindTheFirstCopyOpensAndFailsBehindItsEnd)
{
    _image->cut(_copies[1]);
    const Result<OpenedVolume> opened = openDamaged();
    ASSERT_TRUE(opened) << describe(opened.error());
    EXPECT_TRUE(opened->facts.truncated);
    EXPECT_TRUE(opened->facts.looksLikeFileSystem);
    EXPECT_EQ(opened->volume->size(), SampleImages::shared().source(kPlainCase)->size());
    uint8_t sector[512];
    EXPECT_FALSE(opened->volume->readAt(_copies[1] - 512, sector, 512));
    // The copy's own area is known to be zeros; what follows is missing.
    EXPECT_EQ(opened->volume->readAt(_copies[1] + 65536, sector, 512).status,
              Status::TruncatedImage);
}

TEST_F(DamagedSampleTest, AnImageThatIsCutBeforeTheFirstCopyIsTruncated)
{
    _image->cut(_copies[0]);
    EXPECT_EQ(statusOf(openDamaged()), Status::TruncatedImage);
}

}  // namespace
}  // namespace vx::bitlocker
