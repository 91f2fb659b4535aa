#include "Maker/ByteWriter.h"
#include "TestVolume.h"

#include "HexText.h"
#include "Secret.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace vx::bitlocker {
namespace {

// 00 01 02 ...
std::vector<uint8_t> Counted(size_t count, uint8_t first = 0)
{
    std::vector<uint8_t> bytes(count);
    for (size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(first + i);
    return bytes;
}

std::string Hex(const std::vector<uint8_t> &bytes, const std::string &between = "",
                const char *form = "%02x")
{
    std::string text;
    for (const uint8_t byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, form, byte);
        text += (text.empty() ? "" : between) + digits;
    }
    return text;
}

std::string TextOf(const std::vector<uint8_t> &bytes)
{
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

std::string DetailOf(const Result<Secret> &secret)
{
    return secret ? "accepted" : secret.Failure().detail;
}

// --- Master key

TEST(MasterKeyTest, DigitsInAnyCaseWithBlanksOrColonsAreTheKey)
{
    const std::vector<uint8_t> key = Counted(32, 0xf0);
    for (const std::string &text :
         {Hex(key), Hex(key, "", "%02X"), Hex(key, ":"), Hex(key, " "), " " + Hex(key) + "\n"}) {
        const Result<Secret> secret = Secret::FromMasterKey(text.c_str());
        ASSERT_TRUE(secret) << text << secret.Failure().detail;
        EXPECT_EQ(secret->MasterKey().Copy(), key);
        EXPECT_EQ(secret->GivenForm(), Secret::Form::kMasterKey);
    }
}

TEST(MasterKeyTest, AFileHoldsTheBytesOrTheDigits)
{
    const TemporaryFolder folder;
    const std::vector<uint8_t> key = Counted(32, 7);
    for (const std::string &contents : {TextOf(key), Hex(key), Hex(key, ":") + "\r\n"}) {
        const Result<Secret> secret =
            Secret::FromMasterKey(folder.WriteFile("vmk", contents).c_str());
        ASSERT_TRUE(secret) << secret.Failure().detail;
        EXPECT_EQ(secret->MasterKey().Copy(), key);
    }
    EXPECT_EQ(DetailOf(Secret::FromMasterKey(folder.WriteFile("vmk", "short").c_str())),
              "a file with a master key has 32 bytes or holds 64 hexadecimal digits, and this one "
              "has 5 bytes");
}

// A key that was copied with a slip must not be shown on the screen or in a log as a path.
TEST(MasterKeyTest, AMistypedKeyIsNotTakenForAPathAndNotRepeated)
{
    const std::string key = Hex(Counted(32, 0xa0));
    const auto about = [](const std::string &text) {
        const Result<Secret> secret = Secret::FromMasterKey(text.c_str());
        EXPECT_FALSE(secret);
        EXPECT_EQ(secret.Failure().status, Status::kMalformedSecret);
        return secret.Failure().detail;
    };
    EXPECT_EQ(about(key.substr(1)), "a master key has 64 hexadecimal digits, and this one has 63");
    EXPECT_EQ(about(key.substr(2)), "a master key has 64 hexadecimal digits, and this one has 62");
    EXPECT_EQ(about("001122334455"), "a master key has 64 hexadecimal digits, and this one has 12");
    EXPECT_EQ(about("00:11 2"), "a master key has 64 hexadecimal digits, and this one has 5");
    EXPECT_EQ(about("x" + key),
              "a master key has 64 hexadecimal digits, and this one has 64 and other characters");
    EXPECT_EQ(Secret::FromMasterKey("key.vmk").Failure().detail, "the file with the key");
    const Result<Secret> slash = Secret::FromMasterKey(("a/" + key).c_str());
    ASSERT_FALSE(slash);
    EXPECT_EQ(slash.Failure().systemError, ENOENT);
    EXPECT_EQ(slash.Failure().detail, "the file with the key");
}

// --- Key of the sectors

struct Given {
    Method method;
    std::vector<uint8_t> key;
};

// As it is used with the method that was stated, or with this one.
Given SectorKeyOf(const Result<GivenSectorKey> &given, Method method)
{
    if (!given)
        return {Method::kNone, {}};
    const Method used = given->StatedMethod() != Method::kNone ? given->StatedMethod() : method;
    const Result<KeyMaterial> key = given->KeyFor(used);
    return {used, key ? key->View().Copy() : std::vector<uint8_t>()};
}

TEST(SectorKeyTest, DigitsAreTheKeyOfTheMethodThatTheVolumeHas)
{
    for (const auto &[method, size] :
         {std::pair(Method::kAes128Cbc, 16), std::pair(Method::kAes128Xts, 32),
          std::pair(Method::kAes256Cbc, 32), std::pair(Method::kAes256Xts, 64),
          std::pair(Method::kAes128Elephant, 64)}) {
        const std::vector<uint8_t> key = Counted(static_cast<size_t>(size));
        EXPECT_EQ(SectorKeyOf(GivenSectorKey::FromText(Hex(key)), method).key, key);
        EXPECT_EQ(SectorKeyOf(GivenSectorKey::FromText(Hex(key, ":")), method).key, key);
        EXPECT_EQ(SectorKeyOf(GivenSectorKey::FromFile(key), method).key, key);
    }
}

TEST(SectorKeyTest, TheMethodMayStandInFront)
{
    const std::vector<uint8_t> key = Counted(32);
    for (const char *name : {"aes-xts-128", "AES-128-XTS", "xts-128", "aes_xts_128", "aes128xts"}) {
        const Given given = SectorKeyOf(
            GivenSectorKey::FromText(std::string(name) + ":" + Hex(key)), Method::kNone);
        EXPECT_EQ(given.method, Method::kAes128Xts) << name;
        EXPECT_EQ(given.key, key) << name;
    }
    const auto methodOf = [](const std::string &name, size_t bytes) {
        return SectorKeyOf(GivenSectorKey::FromText(name + ":" + Hex(Counted(bytes))),
                           Method::kNone)
            .method;
    };
    EXPECT_EQ(methodOf("aes-cbc-128", 16), Method::kAes128Cbc);
    EXPECT_EQ(methodOf("aes-cbc-256", 32), Method::kAes256Cbc);
    EXPECT_EQ(methodOf("aes-xts-256", 64), Method::kAes256Xts);
    EXPECT_EQ(methodOf("aes-cbc-128-elephant", 64), Method::kAes128Elephant);
    EXPECT_EQ(methodOf("AES-256-CBC with Elephant diffuser", 64), Method::kNone);
    EXPECT_EQ(methodOf("AES-256-CBC-diffuser", 64), Method::kAes256Elephant);
    for (const char *name : {"aes-xts", "aes-128", "aes-xts-cbc-128", "aes-xts-128-elephant", "des",
                             "aes-xts-128-256"})
        EXPECT_FALSE(GivenSectorKey::FromText(std::string(name) + ":" + Hex(key))) << name;
}

TEST(SectorKeyTest, TheTweakKeyMayStandApart)
{
    const std::vector<uint8_t> front = Counted(16);
    const std::vector<uint8_t> tweak = Counted(16, 0x80);
    std::vector<uint8_t> joined = front;
    joined.insert(joined.end(), tweak.begin(), tweak.end());
    const std::string text = Hex(front) + ":" + Hex(tweak);
    EXPECT_EQ(SectorKeyOf(GivenSectorKey::FromText(text), Method::kAes128Xts).key, joined);
    const Given stated =
        SectorKeyOf(GivenSectorKey::FromText("aes-xts-128:" + text), Method::kNone);
    EXPECT_EQ(stated.key, joined);
    std::vector<uint8_t> spread(64);
    std::copy(front.begin(), front.end(), spread.begin());
    std::copy(tweak.begin(), tweak.end(), spread.begin() + 32);
    EXPECT_EQ(SectorKeyOf(GivenSectorKey::FromText(text), Method::kAes128Elephant).key, spread);
    EXPECT_EQ(SectorKeyOf(GivenSectorKey::FromText(Hex(joined)), Method::kAes128Elephant).key,
              spread);
    const Result<KeyMaterial> cbc = GivenSectorKey::FromText(text)->KeyFor(Method::kAes128Cbc);
    ASSERT_FALSE(cbc);
    EXPECT_EQ(cbc.Failure().detail, "AES-128-CBC has no tweak key, and this key has one");
    EXPECT_FALSE(GivenSectorKey::FromText(text)->KeyFor(Method::kAes256Xts));
}

TEST(SectorKeyTest, AFileOf66BytesHasTheMethodAndTheKey)
{
    std::vector<uint8_t> key = Counted(32, 0x11);
    key.resize(64);
    const auto file = [&](uint16_t method) {
        return maker::ByteWriter().U16(method).Bytes(key).Result();
    };
    const Given xts = SectorKeyOf(GivenSectorKey::FromFile(file(0x8004)), Method::kNone);
    EXPECT_EQ(xts.method, Method::kAes128Xts);
    EXPECT_EQ(xts.key, Counted(32, 0x11));
    const Given elephant = SectorKeyOf(GivenSectorKey::FromFile(file(0x8000)), Method::kNone);
    EXPECT_EQ(elephant.key, key);
    const Result<GivenSectorKey> unknown = GivenSectorKey::FromFile(file(0x8006));
    ASSERT_FALSE(unknown);
    EXPECT_EQ(unknown.Failure().detail, "the file with the key names an unknown method 0x8006");
}

// 64 digits and the end of the line are 66 bytes as well.
TEST(SectorKeyTest, AFileOfDigitsIsNotTakenForOneOfBytes)
{
    const std::vector<uint8_t> key = Counted(32, 0x21);
    const std::string lines = Hex(key) + "\r\n";
    ASSERT_EQ(lines.size(), 66U);
    const std::vector<uint8_t> file(lines.begin(), lines.end());
    EXPECT_EQ(SectorKeyOf(GivenSectorKey::FromFile(file), Method::kAes256Cbc).key, key);
    const std::string half = Hex(Counted(16));
    ASSERT_EQ(half.size(), 32U);
    EXPECT_EQ(SectorKeyOf(GivenSectorKey::FromFile(
                              {reinterpret_cast<const uint8_t *>(half.data()), half.size()}),
                          Method::kAes128Cbc)
                  .key,
              Counted(16));
}

TEST(SectorKeyTest, AKeyThatIsPaddedWithZerosFitsAShorterMethod)
{
    std::vector<uint8_t> padded = Counted(16, 1);
    padded.resize(64);
    EXPECT_EQ(SectorKeyOf(GivenSectorKey::FromFile(padded), Method::kAes128Cbc).key,
              Counted(16, 1));
    padded[63] = 1;
    const Result<KeyMaterial> key = GivenSectorKey::FromFile(padded)->KeyFor(Method::kAes128Cbc);
    ASSERT_FALSE(key);
    EXPECT_EQ(key.Failure().detail, "AES-128-CBC takes a key of 16 bytes, and this one has 64");
}

TEST(SectorKeyTest, TheLengthSaysWhichMethodsAreLeft)
{
    const auto possible = [](const std::string &text) {
        return GivenSectorKey::FromText(text)->PossibleMethods();
    };
    EXPECT_EQ(possible(Hex(Counted(16))), std::vector<Method>{Method::kAes128Cbc});
    EXPECT_EQ(
        possible(Hex(Counted(32))),
        (std::vector<Method>{Method::kAes128Elephant, Method::kAes256Cbc, Method::kAes128Xts}));
    EXPECT_EQ(possible("aes-xts-128:" + Hex(Counted(32))), std::vector<Method>{Method::kAes128Xts});
    EXPECT_EQ(possible(Hex(Counted(64))),
              (std::vector<Method>{Method::kAes128Elephant, Method::kAes256Elephant,
                                   Method::kAes256Xts}));
}

TEST(SectorKeyTest, OtherLengthsAreMalformedAndNothingIsRepeated)
{
    EXPECT_EQ(DetailOf(Secret::FromSectorKey(Hex(Counted(24)).c_str())),
              "a key of sectors has 32, 64 or 128 hexadecimal digits, and this one has 48");
    EXPECT_EQ(
        DetailOf(Secret::FromSectorKey(("z" + Hex(Counted(16))).c_str())),
        "a key of sectors has 32, 64 or 128 hexadecimal digits, and this one has 32 and other "
        "characters");
    EXPECT_EQ(
        GivenSectorKey::FromFile(Counted(65)).Failure().detail,
        "a file with a key of sectors has 16, 32, 64 or 66 bytes or holds hexadecimal digits, "
        "and this one has 65 bytes");
}

}  // namespace
}  // namespace vx::bitlocker
