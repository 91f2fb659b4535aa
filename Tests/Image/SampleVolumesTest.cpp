// Volumes that Windows encrypted (see SampleImages.h), through the library's entry: every file
// that the manifests list, byte for byte.
#include "SampleImages.h"
#include "TestImage.h"

#include <algorithm>
#include <fstream>
#include <openssl/sha.h>
#include <sstream>

namespace vx {
namespace {

using bitlocker::SampleImages;

std::string HashOf(const std::string &bytes)
{
    unsigned char digest[SHA256_DIGEST_LENGTH];
    SHA256(reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size(), digest);
    std::string text;
    for (const unsigned char byte : digest) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

// The hashes of the live files by their paths. Left out are streams with names, labels and the
// file system's own files.
TestTree ReadManifest(const std::string &path)
{
    TestTree tree;
    std::ifstream lines(path);
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> fields;
        std::istringstream text(line);
        for (std::string field; std::getline(text, field, '\t');)
            fields.push_back(field);
        if (fields.size() != 6 || fields[1] != "live" || fields[4].empty())
            continue;
        const std::string &name = fields[5];
        const bool isOwn = name[0] == '$' && name.rfind("$RECYCLE.BIN", 0) != 0;
        if (!isOwn && name.find(':') == name.npos && name.find("(Volume Label") == name.npos)
            tree[name] = fields[4];
    }
    return tree;
}

// The program that listed the FAT volume has cut one name.
void MendCutNames(const TestTree &found, TestTree *expected)
{
    constexpr size_t kCutAt = 195;
    TestTree mended;
    for (const auto &[path, hash] : *expected) {
        const bool isCut = Utf16(path.substr(path.rfind('/') + 1)).size() == kCutAt;
        const auto whole = found.lower_bound(path);
        const bool continues = whole != found.end() && whole->first.rfind(path, 0) == 0;
        mended[isCut && continues ? whole->first : path] = hash;
    }
    *expected = mended;
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
    SampleImages &samples = SampleImages::shared();
    const std::string name = GetParam();
    const std::string missing = samples.prepare(name);
    if (!missing.empty())
        GTEST_SKIP() << missing << " is missing";
    const std::string folder = samples.folder();
    const std::string path = folder.substr(0, folder.rfind('/')) + "/" + name + ".img";
    TestTree expected = ReadManifest(VX_SOURCE_DIR "/../shared/samples/" + name + ".manifest.tsv");
    ASSERT_FALSE(expected.empty());
    const auto &image = samples.image(name);
    ASSERT_FALSE(image.passwords.empty());
    const Opened opened = OpenImage(path, "password", image.passwords[0].c_str());
    ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
    const TestTree found = HashesOf(ReadTree(*opened.volume));
    MendCutNames(found, &expected);
    ExpectSameTree(found, expected);
    EXPECT_EQ(OpenImage(path, "recovery", image.recoveryPasswords.at(0).c_str()).status,
              VolumeLibraryStatus::kSuccess);
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleVolume,
                         testing::Values("ntfs-cbc128", "tree-ntfs-xts128", "tree-fat16-cbc128"));

// Nothing but the head of the file system is left in these.
TEST(SampleVolumes, HeaderOnlyImagesEndInADamagedFileSystem)
{
    SampleImages &samples = SampleImages::shared();
    int tried = 0;
    for (const auto &[name, image] : samples.images()) {
        if (name.rfind("bitlk-", 0) != 0 || image.plainHash.empty() || image.passwords.empty())
            continue;
        const std::string missing = samples.prepare(name);
        if (!missing.empty())
            GTEST_SKIP() << missing << " is missing";
        const Opened opened = OpenImage(samples.folder() + "/" + name + ".img", "password",
                                        image.passwords[0].c_str());
        EXPECT_EQ(opened.status, VolumeLibraryStatus::kFileSystemDamaged)
            << name << ": " << opened.detail;
        ++tried;
    }
    if (tried == 0)
        GTEST_SKIP() << "../shared/samples/README.md is missing";
    EXPECT_GE(tried, 14);
}

}  // namespace
}  // namespace vx
