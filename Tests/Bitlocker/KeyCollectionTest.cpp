#include "KeyTexts.h"
#include "Maker/StartupKeyFileWriter.h"
#include "TestVolume.h"

#include "KeyCollection.h"
#include "Secret.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace vx::bitlocker {
namespace {

std::string StartupKeyText(const Guid &protector)
{
    const std::vector<uint8_t> bytes = maker::MakeStartupKeyFile(protector);
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

class KeyCollectionTest : public testing::Test {
protected:
    Result<KeyCollection> Read(const std::string &path) const
    {
        return KeyCollection::FromPath(path.c_str(), nullptr);
    }

    std::string Write(const std::string &name, const std::string &text) const
    {
        return _folder.WriteFile(name, text);
    }

    const TemporaryFolder _folder;
};

TEST_F(KeyCollectionTest, AFolderGivesTheKeysOfItsFilesAndOfTheFoldersInIt)
{
    Write("b/BitLocker Recovery Key " + std::string(kKeyId) + ".TXT", kRecovery);
    Write("a.csv", Encoded(kOtherRecovery, TextEncoding::kLittleEndianWithMark));
    Write("x.BEK", StartupKeyText(kOtherKeyGuid));
    Write("b/deeper/not.txt", "111111-222222-333333-444444-555555-666666-000011-000033");
    Write("notes.txt", "nothing");
    const Result<KeyCollection> ring = Read(_folder.Path());
    ASSERT_TRUE(ring);
    ASSERT_EQ(ring->Keys().Size(), 3U);
    EXPECT_TRUE(ring->Keys().At(0).identifiers.empty());
    EXPECT_EQ(ring->Keys().At(1).identifiers, std::vector<Guid>{kKeyGuid});
    EXPECT_EQ(ring->Keys().At(2).kind, ProtectorKind::kExternalKey);
    EXPECT_EQ(ring->Keys().At(2).identifiers, std::vector<Guid>{kOtherKeyGuid});
    EXPECT_EQ(ring->Problems(), "");
}

TEST_F(KeyCollectionTest, TheNameOfAFileCountsOnlyIfItsTextNamesNoIdentifier)
{
    Write("BitLocker Recovery Key " + std::string(kKeyId) + ".TXT",
          std::string(kOtherKeyId) + "\r\n" + kRecovery);
    const Result<KeyCollection> ring = Read(_folder.Path());
    ASSERT_TRUE(ring);
    ASSERT_EQ(ring->Keys().Size(), 1U);
    EXPECT_EQ(ring->Keys().At(0).identifiers, std::vector<Guid>{kOtherKeyGuid});
}

TEST_F(KeyCollectionTest, TheSamePasswordInSeveralFilesIsOneKey)
{
    Write("a.txt", kRecovery);
    Write("b.txt", std::string(kKeyId) + " " + kRecovery);
    const Result<KeyCollection> ring = Read(_folder.Path());
    ASSERT_TRUE(ring);
    ASSERT_EQ(ring->Keys().Size(), 1U);
    EXPECT_EQ(ring->Keys().At(0).identifiers, std::vector<Guid>{kKeyGuid});
}

TEST_F(KeyCollectionTest, WhatIsNoOrdinaryFileIsNeitherWaitedForNorRead)
{
    ASSERT_EQ(mkfifo(_folder.At("fifo").c_str(), 0600), 0);
    ASSERT_EQ(symlink("/dev/zero", _folder.At("zero").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", _folder.At("dangling").c_str()), 0);
    Write("a.txt", kRecovery);
    const Result<KeyCollection> ring = Read(_folder.Path());
    ASSERT_TRUE(ring);
    EXPECT_EQ(ring->Keys().Size(), 1U);
    EXPECT_EQ(ring->Problems(), "3 files could not be read or had more than 1 MiB");
    for (const char *name : {"fifo", "zero"}) {
        const Result<KeyCollection> alone = Read(_folder.At(name));
        ASSERT_FALSE(alone) << name;
        EXPECT_EQ(alone.Failure().systemError, ENOTSUP) << name;
    }
}

TEST_F(KeyCollectionTest, ALongFileIsPassedOverInAFolderAndReadAlone)
{
    const std::string path = Write("long.txt", std::string(2 << 20, ' ') + kRecovery);
    EXPECT_EQ(Read(_folder.Path())->Keys().Size(), 0U);
    EXPECT_EQ(Read(path)->Keys().Size(), 1U);
    const Result<Secret> recoveryFile = Secret::FromRecoveryFile(path.c_str());
    ASSERT_FALSE(recoveryFile);
    EXPECT_EQ(recoveryFile.Failure().status, Status::kMalformedSecret);
    EXPECT_EQ(recoveryFile.Failure().detail, "it is too long for a file of keys");
    const std::string longer = _folder.MakeSparseFile("longer", 17 << 20);
    const Result<KeyCollection> tooLong = Read(longer);
    ASSERT_FALSE(tooLong);
    EXPECT_EQ(tooLong.Failure().status, Status::kMalformedSecret);
}

TEST_F(KeyCollectionTest, OfAFolderWithVeryManyFilesSomeAreReadAndThatIsSaid)
{
    for (size_t i = 0; i < KeyCollection::kMostFiles + 5; ++i)
        ASSERT_EQ(mknod(_folder.At(std::to_string(i)).c_str(), S_IFREG | 0600, 0), 0);
    const Result<KeyCollection> ring = Read(_folder.Path());
    ASSERT_TRUE(ring);
    EXPECT_EQ(ring->Problems(), "there are more files or keys than are read");
}

bool NamesKey(const KeyList &keys, const Guid &protector)
{
    for (size_t key = 0; key < keys.Size(); ++key)
        if (keys.At(key).Names(protector))
            return true;
    return false;
}

std::string LineOf(unsigned number)
{
    char text[64];
    std::snprintf(text, sizeof text, "%06u-%06u-000022-000033-000044-000055-000066-000077\n",
                  number % 60000 * 11, number / 60000 * 11);
    return text;
}

std::string LinesOf(unsigned first, unsigned end)
{
    std::string text;
    for (unsigned number = first; number < end; ++number)
        text += LineOf(number);
    return text;
}

TEST_F(KeyCollectionTest, OfTooManyKeysThoseThatNameAWantedProtectorAreTaken)
{
    std::string text = LinesOf(0, KeyList::kMost + 5);
    text += std::string(kOtherKeyId) + " " + LineOf(100000) + kKeyId + " " + LineOf(100001);
    const std::string path = Write("ring", text);
    const auto wanting = KeyCollection::FromPath(path.c_str(), nullptr, {kKeyGuid});
    ASSERT_TRUE(wanting);
    EXPECT_TRUE(wanting->IsCut());
    EXPECT_EQ(wanting->Keys().Size(), KeyList::kMost);
    EXPECT_TRUE(NamesKey(wanting->Keys(), kKeyGuid));
    EXPECT_FALSE(NamesKey(wanting->Keys(), kOtherKeyGuid));
    EXPECT_EQ(wanting->Problems(), "there are more files or keys than are read");
    EXPECT_FALSE(NamesKey(Read(path)->Keys(), kKeyGuid));
}

TEST_F(KeyCollectionTest, OfTooManyKeysThoseOfAFileNamedAfterAWantedProtectorAreTaken)
{
    constexpr unsigned kInFile = 18000;
    for (unsigned file = 0; file * kInFile <= KeyList::kMost; ++file)
        Write("many" + std::to_string(file) + ".txt",
              LinesOf(file * kInFile, (file + 1) * kInFile));
    Write("zz/BitLocker Recovery Key " + std::string(kKeyId) + ".TXT", LineOf(100000));
    const auto wanting = KeyCollection::FromPath(_folder.Path().c_str(), nullptr, {kKeyGuid});
    ASSERT_TRUE(wanting);
    EXPECT_TRUE(wanting->IsCut());
    EXPECT_TRUE(NamesKey(wanting->Keys(), kKeyGuid));
    EXPECT_FALSE(NamesKey(Read(_folder.Path())->Keys(), kKeyGuid));
}

TEST_F(KeyCollectionTest, OfTooManyKeysOneWithAWantedIdentifierInALaterLineIsTaken)
{
    const std::string path = Write("ring", LinesOf(0, KeyList::kMost + 5) + kKeyId + "\n");
    const auto wanting = KeyCollection::FromPath(path.c_str(), nullptr, {kKeyGuid});
    ASSERT_TRUE(wanting);
    EXPECT_TRUE(NamesKey(wanting->Keys(), kKeyGuid));
}

TEST_F(KeyCollectionTest, OfTooManyFilesThoseThatNameAWantedProtectorAreRead)
{
    for (size_t i = 0; i < KeyCollection::kMostFiles + 5; ++i)
        ASSERT_EQ(mknod(_folder.At(std::to_string(i)).c_str(), S_IFREG | 0600, 0), 0);
    Write(std::string("zz ") + kKeyId + ".TXT", LineOf(1));
    const auto wanting = KeyCollection::FromPath(_folder.Path().c_str(), nullptr, {kKeyGuid});
    ASSERT_TRUE(wanting);
    EXPECT_TRUE(NamesKey(wanting->Keys(), kKeyGuid));
    EXPECT_EQ(Read(_folder.Path())->Keys().Size(), 0U);
}

TEST_F(KeyCollectionTest, AFileInAFolderThatNamesAWantedProtectorIsReadBeforeTooManyOthers)
{
    for (size_t i = 0; i < KeyCollection::kMostFiles + 5; ++i)
        ASSERT_EQ(mknod(_folder.At(std::to_string(i)).c_str(), S_IFREG | 0600, 0), 0);
    Write(std::string("zz/") + kKeyId + ".TXT", LineOf(1));
    const auto wanting = KeyCollection::FromPath(_folder.Path().c_str(), nullptr, {kKeyGuid});
    ASSERT_TRUE(wanting);
    EXPECT_TRUE(NamesKey(wanting->Keys(), kKeyGuid));
    EXPECT_EQ(wanting->Keys().Size(), 1U);
    EXPECT_EQ(wanting->Problems(), "there are more files or keys than are read");
}

TEST_F(KeyCollectionTest, NoFileIsReadTwiceWhetherItNamesAWantedProtectorOrNot)
{
    const std::string mistyped = "000011-000022-000034-720885-111111-222222-333333-444444\n";
    Write(std::string(kKeyId) + ".TXT", mistyped);
    Write(std::string(kKeyId) + "/other.txt", mistyped);
    Write(std::string("b/") + kKeyId + ".TXT", mistyped);
    const auto wanting = KeyCollection::FromPath(_folder.Path().c_str(), nullptr, {kKeyGuid});
    ASSERT_TRUE(wanting);
    EXPECT_EQ(wanting->Problems(), "3 recovery passwords are mistyped: in " + std::string(kKeyId) +
                                       ".TXT, line 1: group 3 is mistyped");
}

TEST_F(KeyCollectionTest, OfAFolderWithVeryManyFoldersSomeAreReadAndThatIsSaid)
{
    ASSERT_EQ(mkdir(_folder.At("empty").c_str(), 0700), 0);
    ASSERT_EQ(mkdir(_folder.At("ring").c_str(), 0700), 0);
    for (size_t i = 0; i < KeyCollection::kMostFiles + 5; ++i)
        ASSERT_EQ(symlink("../empty", _folder.At("ring/" + std::to_string(i)).c_str()), 0);
    Write(std::string("ring/zz ") + kKeyId + ".TXT", LineOf(1));
    const std::string ring = _folder.At("ring");
    const auto wanting = KeyCollection::FromPath(ring.c_str(), nullptr, {kKeyGuid});
    ASSERT_TRUE(wanting);
    EXPECT_TRUE(NamesKey(wanting->Keys(), kKeyGuid));
    EXPECT_EQ(Read(ring)->Problems(), "there are more files or keys than are read");
}

TEST_F(KeyCollectionTest, AMistakeIsNamedWithItsFileAndLine)
{
    Write("keys\n.txt", "\n000011-000022-000034-720885-111111-222222-333333-444444\n");
    const Result<KeyCollection> ring = Read(_folder.Path());
    ASSERT_TRUE(ring);
    EXPECT_EQ(ring->Problems(),
              "1 recovery password is mistyped: in keys?.txt, line 2: group 3 is mistyped");
}

TEST_F(KeyCollectionTest, ReadingIsCancelled)
{
    Write("a.txt", kRecovery);
    const CancelFlag cancel;
    CancelFlag::RaiseAll();
    const Result<KeyCollection> ring = KeyCollection::FromPath(_folder.Path().c_str(), &cancel);
    ASSERT_FALSE(ring);
    EXPECT_EQ(ring.Failure().status, Status::kCancelled);
}

// --- As secrets

std::string DetailOf(const Result<Secret> &secret)
{
    return secret ? "accepted" : secret.Failure().detail;
}

TEST_F(KeyCollectionTest, AFileOrRingWithoutAKeyIsMalformed)
{
    const std::string empty = Write("empty.txt", "");
    EXPECT_EQ(DetailOf(Secret::FromRecoveryFile(empty.c_str())),
              "there is no recovery password of 48 digits in the file");
    EXPECT_EQ(DetailOf(Secret::FromKeyRing(_folder.Path().c_str())),
              "there is no recovery password of 48 digits and no startup key in the key ring");
    const std::string wrong =
        Write("wrong.txt", "000011-000022-000034-720885-111111-222222-333333-444444\n");
    EXPECT_EQ(DetailOf(Secret::FromRecoveryFile(wrong.c_str())),
              "1 recovery password is mistyped: in wrong.txt, line 1: group 3 is mistyped");
    const std::string key = Write("key.BEK", StartupKeyText(kKeyGuid));
    EXPECT_EQ(DetailOf(Secret::FromRecoveryFile(key.c_str())),
              "the file is a startup key; give it with the kind \"startup-key\"");
}

TEST_F(KeyCollectionTest, WhatCannotBeReadIsNamed)
{
    const std::string missing = _folder.At("missing.txt");
    Result<Secret> secret = Secret::FromRecoveryFile(missing.c_str());
    ASSERT_FALSE(secret);
    EXPECT_EQ(secret.Failure().systemError, ENOENT);
    EXPECT_EQ(secret.Failure().detail, "the recovery file at " + missing);
    EXPECT_EQ(DetailOf(Secret::FromRecoveryFile(_folder.Path().c_str())),
              "the recovery file at " + _folder.Path() + ": it is a folder");
    secret = Secret::FromKeyRing(missing.c_str());
    ASSERT_FALSE(secret);
    EXPECT_EQ(secret.Failure().systemError, ENOENT);
    EXPECT_EQ(secret.Failure().detail, "the key ring at " + missing);
}

TEST_F(KeyCollectionTest, DigitsInPlaceOfAPathAreNotRepeated)
{
    for (const Result<Secret> &secret :
         {Secret::FromRecoveryFile(kRecovery), Secret::FromKeyRing(kRecovery),
          Secret::FromStartupKeyFile(kRecovery)}) {
        ASSERT_FALSE(secret);
        EXPECT_EQ(secret.Failure().status, Status::kMalformedSecret);
        EXPECT_EQ(secret.Failure().detail,
                  "this looks like a recovery password; give it with the kind \"recovery\"");
    }
    const std::string key = "aes-xts-128:" + std::string(64, 'c');
    for (const Result<Secret> &secret :
         {Secret::FromRecoveryFile(key.c_str()), Secret::FromKeyRing(key.c_str()),
          Secret::FromStartupKeyFile(key)}) {
        ASSERT_FALSE(secret);
        EXPECT_EQ(secret.Failure().status, Status::kMalformedSecret);
        EXPECT_EQ(secret.Failure().detail, "this looks like a key in hexadecimal digits; give it "
                                           "with the kind \"vmk\" or \"fvek\"");
    }
}

TEST_F(KeyCollectionTest, AStartupKeyFileThatIsMissingIsNamed)
{
    const std::string name = "1A2B3C4D-1A2B-1A2B-1A2B-1A2B3C4D5E6F.BEK";
    const auto secret = Secret::FromStartupKeyFile(name);
    ASSERT_FALSE(secret);
    EXPECT_EQ(secret.Failure().detail, "the startup key file " + name);
}

}  // namespace
}  // namespace vx::bitlocker
