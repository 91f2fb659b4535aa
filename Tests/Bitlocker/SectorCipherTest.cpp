#include "Maker/ByteWriter.h"
#include "Maker/MadeUpBytes.h"
#include "Maker/SectorEncryptor.h"
#include "TestVolume.h"

#include "Diffusers.h"
#include "SectorCipher.h"
#include "Sha256.h"

#include <gtest/gtest.h>

#include <numeric>

namespace vx::bitlocker {
namespace {

std::string HexDigest(ByteView bytes)
{
    std::string text;
    for (uint8_t byte : Sha256(bytes)) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

std::string DigestOfWords(void (*diffuser)(uint32_t *, size_t))
{
    std::vector<uint32_t> words(128);
    std::iota(words.begin(), words.end(), 0U);
    diffuser(words.data(), words.size());
    return HexDigest({reinterpret_cast<const uint8_t *>(words.data()), 512});
}

TEST(DiffusersTest, DiffuserBGivesItsKnownAnswer)
{
    EXPECT_EQ(DigestOfWords(UndoDiffuserB),
              "9b18f1970cead5b8a1733b7fe8f6dc1d2e0d0f9f6480f813ffb53a19fc984b5b");
}

TEST(DiffusersTest, DiffuserAGivesItsKnownAnswer)
{
    EXPECT_EQ(DigestOfWords(UndoDiffuserA),
              "3ca50217be4a4bd39e02cfa9d30110d0910cea415ce993016b4e832a2565717e");
}

TEST(DiffusersTest, BothUndoTheirOppositeInASectorOf4096Bytes)
{
    std::vector<uint32_t> words(1024);
    std::iota(words.begin(), words.end(), 77U);
    const std::vector<uint32_t> before = words;
    maker::DiffuserA(words.data(), words.size());
    maker::DiffuserB(words.data(), words.size());
    EXPECT_NE(words, before);
    UndoDiffuserB(words.data(), words.size());
    UndoDiffuserA(words.data(), words.size());
    EXPECT_EQ(words, before);
}

struct CipherCase {
    Method method;
    uint32_t sectorSize;
};

class EveryMethodTest : public testing::TestWithParam<CipherCase> {
protected:
    static constexpr size_t kLength = SectorCipher::kLongestRun;
    // Behind 4 GiB, so that an offset cut to 32 bits shows.
    static constexpr uint64_t kOffset = 0x1'2345'6000;

    EveryMethodTest()
        : _key(maker::MadeUpBytes(9).Bytes("key", SectorKeySize(GetParam().method))),
          _plain(MakePlainImage(kLength)),
          _stored(_plain)
    {
        const maker::SectorEncryptor encryptor(GetParam().method, _key, GetParam().sectorSize);
        for (size_t at = 0; at < kLength; at += GetParam().sectorSize)
            encryptor.Encrypt(kOffset + at, _stored.data() + at);
    }

    std::unique_ptr<SectorCipher> Cipher() const
    {
        return MakeSectorCipher(GetParam().method, _key, GetParam().sectorSize);
    }

    std::vector<uint8_t> Decrypted(SectorCipher &cipher, size_t from, size_t length) const
    {
        std::vector<uint8_t> out(length);
        EXPECT_TRUE(cipher.Decrypt(kOffset + from, _stored.data() + from, out.data(), length));
        return out;
    }

    std::vector<uint8_t> Plain(size_t from, size_t length) const
    {
        return ByteView(_plain).From(from).First(length).Copy();
    }

    const std::vector<uint8_t> _key;
    const std::vector<uint8_t> _plain;
    std::vector<uint8_t> _stored;
};

TEST_P(EveryMethodTest, ARunOfManySectorsIsDecryptedAsIfEachWereAlone)
{
    EXPECT_EQ(Decrypted(*Cipher(), 0, kLength), _plain);
}

TEST_P(EveryMethodTest, OneSectorIsDecrypted)
{
    const size_t size = GetParam().sectorSize;
    EXPECT_EQ(Decrypted(*Cipher(), 3 * size, size), Plain(3 * size, size));
}

TEST_P(EveryMethodTest, ARunDoesNotDependOnTheRunBefore)
{
    const size_t size = GetParam().sectorSize;
    const std::unique_ptr<SectorCipher> same = Cipher();
    Decrypted(*same, 5 * size, 3 * size);
    EXPECT_EQ(Decrypted(*same, size, 2 * size), Plain(size, 2 * size));
}

TEST_P(EveryMethodTest, ACloneDecryptsLikeItsOriginal)
{
    EXPECT_EQ(Decrypted(*Cipher()->Clone(), 0, kLength), _plain);
}

TEST_P(EveryMethodTest, AKeyOfAnotherLengthIsRefused)
{
    std::vector<uint8_t> longer = _key;
    longer.push_back(0);
    EXPECT_EQ(MakeSectorCipher(GetParam().method, longer, GetParam().sectorSize), nullptr);
    EXPECT_EQ(MakeSectorCipher(GetParam().method, ByteView(_key).From(1), GetParam().sectorSize),
              nullptr);
}

std::string CaseName(const testing::TestParamInfo<CipherCase> &info)
{
    static const char *kNames[] = {"Elephant128", "Elephant256", "Cbc128",
                                   "Cbc256",      "Xts128",      "Xts256"};
    const auto index = static_cast<size_t>(info.param.method) - 0x8000;
    return std::string(kNames[index]) + "With" + std::to_string(info.param.sectorSize);
}

std::vector<CipherCase> AllCases()
{
    std::vector<CipherCase> cases;
    for (uint16_t method = 0x8000; method <= 0x8005; ++method)
        for (uint32_t sectorSize : {512U, 1024U, 4096U})
            cases.push_back({static_cast<Method>(method), sectorSize});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Methods, EveryMethodTest, testing::ValuesIn(AllCases()), CaseName);

TEST(SectorCipherTest, AnUnknownMethodHasNoCipher)
{
    EXPECT_EQ(MakeSectorCipher(static_cast<Method>(0x8006), std::vector<uint8_t>(32), 512),
              nullptr);
    EXPECT_EQ(MakeSectorCipher(Method::kNone, ByteView(), 512), nullptr);
}

}  // namespace
}  // namespace vx::bitlocker
