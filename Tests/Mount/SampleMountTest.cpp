// Volumes that Windows encrypted (see SampleImages.h), mounted with every kind of secret: what
// other programs find there is what volume-export brings.
#include "MountFixture.h"
#include "SampleImages.h"
#include "SampleKeys.h"

namespace vx {
namespace {

using bitlocker::SampleImages;

class SampleMount : public MountTest, public testing::WithParamInterface<const char *> {
protected:
    void SetUp() override
    {
        MountTest::SetUp();
        const std::string missing = samples.Prepare(GetParam());
        if (!IsSkipped() && !missing.empty())
            GTEST_SKIP() << missing << " is missing";
    }

    SampleImages &samples = SampleImages::Shared();
    const SampleKeys keys{};
};

TEST_P(SampleMount, HasTheFilesOfTheExportWithEveryKindOfSecret)
{
    const std::string path = samples.Path(GetParam());
    const std::string &password = samples.Image(GetParam()).passwords.at(0);
    const Result exported = Shell(VX_TOOL " " + Quoted(path) + " --unlock password " +
                                  Quoted(password) + " --to " + Quoted(_folder.At("copy")));
    ASSERT_EQ(exported.status, 0) << exported.output;
    std::string kinds;
    for (const auto &[kind, secret] : keys.WaysToOpen(GetParam())) {
        SCOPED_TRACE(kind + (" " + secret));
        const std::string mounted = Mount({path, "--unlock", kind, secret});
        ASSERT_FALSE(mounted.empty());
        ExpectSameFacts(mounted, _folder.At("copy"));
        Unmount(mounted);
        kinds += kind + std::string(" ");
    }
    EXPECT_EQ(kinds, "password recovery recovery-file key-ring vmk vmk fvek fvek fvek ");
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleMount,
                         testing::Values("ntfs-cbc128", "tree-ntfs-xts128", "tree-fat16-cbc128"),
                         [](const auto &tested) { return SampleImages::TestName(tested.param); });

}  // namespace
}  // namespace vx
