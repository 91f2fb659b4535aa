// Volumes that Windows encrypted (see SampleImages.h), through the library's entry: every file
// that the manifests list, byte for byte.
#include "Container.h"
#include "SampleImages.h"
#include "SampleKeys.h"
#include "SampleManifest.h"
#include "TemporaryFolder.h"
#include "VolumeOpeningOptions.h"
#include "VolumeSearch.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <openssl/evp.h>
#include <openssl/sha.h>

namespace vx {
namespace {

using bitlocker::SampleImages;

std::string TextOf(const unsigned char (&digest)[SHA256_DIGEST_LENGTH])
{
    std::string text;
    for (const unsigned char byte : digest) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

std::string HashOf(const std::string &bytes)
{
    unsigned char digest[SHA256_DIGEST_LENGTH];
    SHA256(reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size(), digest);
    return TextOf(digest);
}

TestTree HashesOf(const TestTree &tree)
{
    TestTree hashes;
    for (const auto &[path, contents] : tree) {
        if (path.back() != '/')
            hashes[path] = HashOf(contents);
    }
    return hashes;
}

class SampleVolume : public testing::TestWithParam<const char *> {};

TEST_P(SampleVolume, ShowsEveryFileOfItsManifest)
{
    SampleImages &samples = SampleImages::Shared();
    const std::string name = GetParam();
    const std::string missing = samples.Prepare(name);
    const std::string missingList = samples.Need(SampleManifest::FileOf(name));
    if (!missing.empty() || !missingList.empty())
        GTEST_SKIP() << (missing.empty() ? missingList : missing) << " is missing";
    const std::string path = samples.Path(name);
    SampleManifest manifest = SampleManifest::Read(name);
    ASSERT_FALSE(manifest.files.empty());
    const auto &image = samples.Image(name);
    ASSERT_FALSE(image.passwords.empty());
    const Opened opened = OpenImage(path, "password", image.passwords[0].c_str());
    ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
    const TestTree found = HashesOf(ReadTree(*opened.volume));
    manifest.MendCutNames(found);
    ExpectSameTree(found, manifest.files);
    EXPECT_EQ(OpenImage(path, "recovery", image.recoveryPasswords.at(0).c_str()).status,
              VolumeLibraryStatus::kSuccess);
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleVolume,
                         testing::Values("ntfs-cbc128", "tree-ntfs-xts128", "tree-fat16-cbc128"),
                         SampleManifest::NameOfTest);

// Nothing but the head of the file system is left in these.
TEST(SampleVolumes, HeaderOnlyImagesEndInADamagedFileSystemOrMapWithEverySecret)
{
    SampleImages &samples = SampleImages::Shared();
    const SampleKeys keys;
    int tried = 0;
    for (const auto &[name, image] : samples.Images()) {
        if (name.rfind("bitlk-", 0) != 0)
            continue;
        const std::string missing = samples.Prepare(name);
        if (!missing.empty())
            GTEST_SKIP() << missing << " is missing";
        const auto expected = image.plainHash.empty() ? VolumeLibraryStatus::kConversionMapDamaged
                                                      : VolumeLibraryStatus::kFileSystemDamaged;
        for (const auto &[kind, secret] : keys.WaysToOpen(name)) {
            const Opened opened = OpenImage(samples.Path(name), kind, secret.c_str());
            EXPECT_EQ(opened.status, expected) << name << " by " << kind << ": " << opened.detail;
        }
        ++tried;
    }
    if (tried == 0)
        GTEST_SKIP() << samples.Need("README.md") << " is missing";
    EXPECT_EQ(tried, 21);
}

std::string HashOfContents(IVolume &volume)
{
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> hash(EVP_MD_CTX_new(),
                                                                       EVP_MD_CTX_free);
    EVP_DigestInit_ex(hash.get(), EVP_sha256(), nullptr);
    VolumeHandle file = OpenForReading(volume, kVolumeContentsPath);
    std::string chunk(4 << 20, '\0');
    uint32_t done = 0;
    while (volume.ReadFile(file, chunk.data(), static_cast<uint32_t>(chunk.size()), &done) &&
           done > 0)
        EVP_DigestUpdate(hash.get(), chunk.data(), done);
    volume.CloseHandle(file);
    unsigned char digest[SHA256_DIGEST_LENGTH];
    EVP_DigestFinal_ex(hash.get(), digest, nullptr);
    return TextOf(digest);
}

OpeningOptions ForContents()
{
    OpeningOptions options;
    options.opensContents = true;
    return options;
}

// Every image whose contents have a published hash, by every secret, opened as the test wants it.
class HashedSamples : public testing::Test {
protected:
    using Opening =
        std::function<Opened(const std::string &name, const char *kind, const std::string &secret)>;

    void ExpectHashes(const Opening &open)
    {
        SampleImages &samples = SampleImages::Shared();
        const SampleKeys keys;
        int images = 0;
        for (const auto &[name, image] : samples.Images()) {
            const std::string missing = samples.Prepare(name);
            if (!missing.empty())
                GTEST_SKIP() << missing << " is missing";
            if (image.plainHash.empty())
                continue;
            ++images;
            for (const auto &[kind, secret] : keys.FewerWaysToOpen(name)) {
                const Opened opened = open(name, kind, secret);
                ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << name << opened.detail;
                EXPECT_EQ(HashOfContents(*opened.volume), image.plainHash) << name << kind;
                ++_openings;
            }
        }
        if (images == 0)
            GTEST_SKIP() << samples.Need("README.md") << " is missing";
        EXPECT_EQ(images, 22);
        EXPECT_GE(_openings, 40U);
    }

    size_t _openings = 0;
};

TEST_F(HashedSamples, ContentsHaveThePublishedHashWithEverySecret)
{
    ExpectHashes([](const std::string &name, const char *kind, const std::string &secret) {
        const std::string path = SampleImages::Shared().Path(name);
        return AsAnswer(OpenVolume({path.c_str(), kind, secret.c_str(), nullptr, ForContents()}));
    });
}

// What another program prints for the image and its first password, without blanks; empty if there
// is no such program.
std::string SectorKeyByCryptsetup(const std::string &image, const std::string &password)
{
    const TemporaryFolder folder;
    const std::string passwordFile = folder.WriteFile("password", password);
    const std::string found = folder.At("key");
    const std::string command = "PATH=$PATH:/usr/sbin:/sbin cryptsetup bitlkDump '" + image +
                                "' --dump-volume-key --batch-mode --key-file '" + passwordFile +
                                "' 2>/dev/null | sed -n '/MK dump:/,$p' | sed 's/MK dump://' | "
                                "tr -d ' \\t\\n' > '" +
                                found + "'";
    return std::system(command.c_str()) == 0 ? folder.ReadFile("key") : "";
}

TEST(SampleVolumes, TheKeyThatCryptsetupPrintsOpensThem)
{
    SampleImages &samples = SampleImages::Shared();
    if (std::system("PATH=$PATH:/usr/sbin:/sbin cryptsetup --version > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "cryptsetup is missing";
    OpeningOptions options;
    options.opensContents = true;
    for (const char *name : {"bitlk-aes-xts-128", "bitlk-aes-xts-256", "bitlk-aes-cbc-128",
                             "bitlk-aes-cbc-256", "bitlk-togo-aes-xts-128", "bitlk-aes-cbc-128-4k",
                             "bitlk-aes-cbc-elephant-128", "bitlk-aes-cbc-elephant-256"}) {
        const std::string missing = samples.Prepare(name);
        if (!missing.empty())
            GTEST_SKIP() << missing << " is missing";
        const auto &image = samples.Image(name);
        const std::string path = samples.Path(name);
        const std::string key = SectorKeyByCryptsetup(path, image.passwords.at(0));
        ASSERT_GE(key.size(), 32U) << name;
        const Opened opened =
            AsAnswer(OpenVolume({path.c_str(), "fvek", key.c_str(), nullptr, options}));
        ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << name << opened.detail;
        EXPECT_EQ(HashOfContents(*opened.volume), image.plainHash) << name;
    }
}

// A disk of zeros with the volume at an odd place, but for its first sector.
class DiskAround final : public ByteSource {
public:
    static constexpr uint64_t kBegin = (3 << 20) + 37 * 512;

    explicit DiskAround(std::shared_ptr<const ByteSource> volume) : _volume(std::move(volume)) {}

    uint64_t Size() const override { return kBegin + _volume->Size() + (2 << 20); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        const uint64_t begin = kBegin + 512;
        const uint64_t end = kBegin + _volume->Size();
        std::memset(buffer, 0, count);
        const uint64_t from = std::max(offset, begin);
        const uint64_t to = std::min(offset + count, end);
        if (from >= to)
            return {};
        return _volume->ReadAt(from - kBegin, static_cast<char *>(buffer) + (from - offset),
                               static_cast<size_t>(to - from));
    }

private:
    const std::shared_ptr<const ByteSource> _volume;
};

// Where the volume begins, and what a search finds of its metadata.
std::vector<uint64_t> AddressesOn(const ByteSource &disk)
{
    bitlocker::VolumeSearch search(disk, nullptr, {});
    EXPECT_FALSE(search.Run());
    std::vector<uint64_t> addresses = {DiskAround::kBegin};
    for (const bitlocker::SearchedVolume &volume : search.Volumes()) {
        EXPECT_EQ(volume.offset, DiskAround::kBegin);
        addresses.insert(addresses.end(), volume.copies.begin(), volume.copies.end());
    }
    return addresses;
}

TEST_F(HashedSamples, EveryByteIsThereWithoutTheFirstSectorAndTheTableByEverySecret)
{
    std::string searched;
    Container container;
    std::vector<uint64_t> addresses;
    ExpectHashes([&](const std::string &name, const char *kind, const std::string &secret) {
        if (searched != name) {
            container.source = std::make_shared<DiskAround>(SampleImages::Shared().Source(name));
            addresses = AddressesOn(*container.source);
            EXPECT_EQ(addresses.size(), name == "bitlk-aes-xts-128-crc" ? 2u : 4u) << name;
            searched = name;
        }
        const UnlockRequest unlocking = {*ParseUnlockKind(kind), secret.c_str()};
        const VolumeChoice choice = {"", 0, addresses[_openings % addresses.size()]};
        return AsAnswer(OpenDiskContents(container, choice, unlocking, ForContents()));
    });
}

TEST(SampleVolumes, WithoutTheRecordOfAConversionNothingIsGuessed)
{
    SampleImages &samples = SampleImages::Shared();
    for (const std::string name :
         {"bitlk-aes-xts-128-eow", "bitlk-partially-encrypted-aes-cbc-128"}) {
        const std::string missing = samples.Prepare(name);
        if (!missing.empty())
            GTEST_SKIP() << missing << " is missing";
        Container container;
        container.source = std::make_shared<DiskAround>(samples.Source(name));
        const UnlockRequest unlocking = {UnlockKind::kPassword, "anaconda"};
        const Opened opened =
            AsAnswer(OpenDiskContents(container, {"", 0, DiskAround::kBegin}, unlocking, {}));
        EXPECT_EQ(opened.status, VolumeLibraryStatus::kConversionMapDamaged) << opened.detail;
    }
}

}  // namespace
}  // namespace vx
