#include "Maker/ByteWriter.h"
#include "Maker/MadeUpBytes.h"
#include "Maker/SectorEncryptor.h"
#include "TestVolume.h"

#include "Bitlocker/Diffusers.h"
#include "Bitlocker/SectorCipher.h"
#include "Bitlocker/Sha256.h"

#include <gtest/gtest.h>

#include <numeric>

namespace vx::bitlocker {
namespace {

std::string hexDigest(ByteView bytes)
{
    std::string text;
    for (uint8_t byte : sha256(bytes)) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

std::string digestOfWords(void (*diffuser)(uint32_t *, size_t))
{
    std::vector<uint32_t> words(128);
    std::iota(words.begin(), words.end(), 0U);
    diffuser(words.data(), words.size());
    return hexDigest({reinterpret_cast<const uint8_t *>(words.data()), 512});
}

TEST(DiffusersTest, DiffuserBGivesItsKnownAnswer)
{
    EXPECT_EQ(digestOfWords(undoDiffuserB),
              "9b18f1970cead5b8a1733b7fe8f6dc1d2e0d0f9f6480f813ffb53a19fc984b5b");
}

TEST(DiffusersTest, DiffuserAGivesItsKnownAnswer)
{
    EXPECT_EQ(digestOfWords(undoDiffuserA),
              "3ca50217be4a4bd39e02cfa9d30110d0910cea415ce993016b4e832a2565717e");
}

TEST(DiffusersTest, BothUndoTheirOppositeInASectorOf4096Bytes)
{
    std::vector<uint32_t> words(1024);
    std::iota(words.begin(), words.end(), 77U);
    const std::vector<uint32_t> before = words;
    maker::diffuserA(words.data(), words.size());
    maker::diffuserB(words.data(), words.size());
    EXPECT_NE(words, before);
    undoDiffuserB(words.data(), words.size());
    undoDiffuserA(words.data(), words.size());
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
        : _key(maker::MadeUpBytes(9).bytes("key", sectorKeySize(GetParam().method))),
          _plain(makePlainImage(kLength)),
          _stored(_plain)
    {
        const maker::SectorEncryptor encryptor(GetParam().method, _key, GetParam().sectorSize);
        for (size_t at = 0; at < kLength; at += GetParam().sectorSize)
            encryptor.encrypt(kOffset + at, _stored.data() + at);
    }

    std::unique_ptr<SectorCipher> cipher() const
    {
        return makeSectorCipher(GetParam().method, _key, GetParam().sectorSize);
    }

    std::vector<uint8_t> decrypted(SectorCipher &cipher, size_t from, size_t length) const
    {
        std::vector<uint8_t> out(length);
        EXPECT_TRUE(cipher.decrypt(kOffset + from, _stored.data() + from, out.data(), length));
        return out;
    }

    std::vector<uint8_t> plain(size_t from, size_t length) const
    {
        return ByteView(_plain).from(from).first(length).copy();
    }

    const std::vector<uint8_t> _key;
    const std::vector<uint8_t> _plain;
    std::vector<uint8_t> _stored;
};

TEST_P(EveryMethodTest, ARunOfManySectorsIsDecryptedAsIfEachWereAlone)
{
    EXPECT_EQ(decrypted(*cipher(), 0, kLength), _plain);
}

TEST_P(EveryMethodTest, OneSectorIsDecrypted)
{
    const size_t size = GetParam().sectorSize;
    EXPECT_EQ(decrypted(*cipher(), 3 * size, size), plain(3 * size, size));
}

TEST_P(EveryMethodTest, ARunDoesNotDependOnTheRunBefore)
{
    const size_t size = GetParam().sectorSize;
    const std::unique_ptr<SectorCipher> same = cipher();
    decrypted(*same, 5 * size, 3 * size);
    EXPECT_EQ(decrypted(*same, size, 2 * size), plain(size, 2 * size));
}

TEST_P(EveryMethodTest, ACloneDecryptsLikeItsOriginal)
{
    EXPECT_EQ(decrypted(*cipher()->clone(), 0, kLength), _plain);
}

TEST_P(EveryMethodTest, AKeyOfAnotherLengthIsRefused)
{
    std::vector<uint8_t> longer = _key;
    longer.push_back(0);
    EXPECT_EQ(makeSectorCipher(GetParam().method, longer, GetParam().sectorSize), nullptr);
    EXPECT_EQ(makeSectorCipher(GetParam().method, ByteView(_key).from(1), GetParam().sectorSize),
              nullptr);
}

std::string caseName(const testing::TestParamInfo<CipherCase> &info)
{
    static const char *kNames[] = {"Elephant128", "Elephant256", "Cbc128",
                                   "Cbc256",      "Xts128",      "Xts256"};
    const auto index = static_cast<size_t>(info.param.method) - 0x8000;
    return std::string(kNames[index]) + "With" + std::to_string(info.param.sectorSize);
}

std::vector<CipherCase> allCases()
{
    std::vector<CipherCase> cases;
    for (uint16_t method = 0x8000; method <= 0x8005; ++method)
        for (uint32_t sectorSize : {512U, 1024U, 4096U})
            cases.push_back({static_cast<Method>(method), sectorSize});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Methods, EveryMethodTest, testing::ValuesIn(allCases()), caseName);

TEST(SectorCipherTest, AnUnknownMethodHasNoCipher)
{
    EXPECT_EQ(makeSectorCipher(static_cast<Method>(0x8006), std::vector<uint8_t>(32), 512),
              nullptr);
    EXPECT_EQ(makeSectorCipher(Method::None, ByteView(), 512), nullptr);
}

}  // namespace
}  // namespace vx::bitlocker
