// Volumes that Windows encrypted (see SampleImages.h), through volume-export: what arrives is
// what the manifests list, hashed by a program that is not ours.
#include "SampleImages.h"
#include "SampleKeys.h"
#include "SampleManifest.h"

#include <sstream>

namespace vx {
namespace {

using bitlocker::SampleImages;

constexpr size_t kHashDigits = 64;

class SampleExport : public testing::TestWithParam<const char *> {
protected:
    void SetUp() override
    {
        VX_NEEDS("sha256sum");
        const std::string missing = samples.Prepare(GetParam());
        const std::string missingList = samples.Need(SampleManifest::FileOf(GetParam()));
        if (!missing.empty() || !missingList.empty())
            GTEST_SKIP() << (missing.empty() ? missingList : missing) << " is missing";
        manifest = SampleManifest::Read(GetParam());
        ASSERT_FALSE(manifest.files.empty());
    }

    // The hashes of what has arrived, by the paths.
    TestTree Exported() const
    {
        TestTree files;
        if (!RunShell("cd " + Quoted(folder.At("copy")) +
                      " && find . -type f -exec sha256sum -z {} + > ../hashes"))
            return files;
        std::istringstream text(folder.ReadFile("hashes"));
        for (std::string row; std::getline(text, row, '\0');)
            files[row.substr(row.find('/') + 1)] = row.substr(0, kHashDigits);
        return files;
    }

    void ExpectManifestWith(const std::string &kind, const std::string &secret)
    {
        ASSERT_TRUE(RunShell(VX_TOOL " " + Quoted(samples.Path(GetParam())) + " --unlock " + kind +
                             " " + Quoted(secret) + " --to " + Quoted(folder.At("copy"))));
        const TestTree found = Exported();
        manifest.MendCutNames(found);
        ExpectSameTree(found, manifest.files);
    }

    SampleImages &samples = SampleImages::Shared();
    const TemporaryFolder folder{};
    SampleManifest manifest;
};

TEST_P(SampleExport, BringsEveryFileOfTheManifestWithThePassword)
{
    const auto &passwords = samples.Image(GetParam()).passwords;
    ASSERT_FALSE(passwords.empty());
    ExpectManifestWith("password", passwords[0]);
}

TEST_P(SampleExport, BringsEveryFileOfTheManifestWithTheRecoveryPassword)
{
    const auto &recoveryPasswords = samples.Image(GetParam()).recoveryPasswords;
    ASSERT_FALSE(recoveryPasswords.empty());
    ExpectManifestWith("recovery", recoveryPasswords[0]);
}

// SampleVolumes tries every secret.
TEST(SampleRaw, EveryVolumeHasItsPublishedHashAsAFile)
{
    VX_NEEDS("sha256sum");
    SampleImages &samples = SampleImages::Shared();
    const SampleKeys keys;
    const TemporaryFolder folder;
    int hashed = 0;
    for (const auto &[name, image] : samples.Images()) {
        const std::string missing = samples.Prepare(name);
        if (!missing.empty())
            GTEST_SKIP() << missing << " is missing";
        if (image.plainHash.empty())
            continue;
        const auto [kind, secret] = keys.FewerWaysToOpen(name).front();
        EXPECT_TRUE(RunShell("cd " + Quoted(folder.Path()) + " && " VX_TOOL " --raw raw " +
                             Quoted(samples.Path(name)) + " --unlock " + kind + " " +
                             Quoted(secret) + " --verify 2>errors | grep -q " + image.plainHash +
                             " && sha256sum raw > hash"))
            << name << folder.ReadFile("errors");
        EXPECT_EQ(folder.ReadFile("hash").substr(0, kHashDigits), image.plainHash) << name;
        ++hashed;
    }
    if (hashed == 0)
        GTEST_SKIP() << samples.Need("README.md") << " is missing";
    EXPECT_EQ(hashed, 22);
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleExport,
                         testing::Values("ntfs-cbc128", "tree-ntfs-xts128", "tree-fat16-cbc128"),
                         SampleManifest::NameOfTest);

}  // namespace
}  // namespace vx
