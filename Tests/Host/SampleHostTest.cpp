// Volumes that Windows encrypted (see SampleImages.h), tried by the real volume-trial with the real
// volume library, with every kind of secret; a stand-in for the explorer says what it is given.
#include "HostSession.h"

#include "Eventually.h"
#include "PipeFolder.h"
#include "RecordingObserver.h"
#include "SampleImages.h"
#include "SampleKeys.h"
#include "VolumeLibraryStatus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <unistd.h>

namespace vx {
namespace {

using bitlocker::SampleImages;

class TrialObserver : public RecordingObserver {
public:
    bool OnTried(const TrialResult &result) override
    {
        tried = result;
        return true;
    }
    TrialResult tried;
};

class SampleHost : public testing::TestWithParam<const char *> {
protected:
    void SetUp() override
    {
        const std::string missing = samples.Prepare(GetParam());
        if (!missing.empty())
            GTEST_SKIP() << missing << " is missing";
        ASSERT_EQ(chdir(_folder.Path().c_str()), 0);
        _folder.MakeLink("libBitLockerWapper.dylib", VX_LIBRARY);
        _folder.MakeLink(Volume(), samples.Path(GetParam()));
    }

    // A path relative to the folder that also says, to the stand-in, what to do.
    std::string Volume() const { return "opening:" + _told; }

    TrialResult Run(const std::string &kind, const std::string &secret)
    {
        HostRequest request;
        request.programs = {_folder.MakeLink("X.app/X", FAKE_EXPLORER), VOLUME_TRIAL, ""};
        request.volume = Volume();
        request.kind = kind;
        for (const char sign : secret)
            request.secret.Append(sign);
        EventPipe events;
        TrialObserver observer;
        const SessionEnd end =
            HostSession(events, observer, {_folder.At("in"), _folder.At("out")}).Run(&request);
        EXPECT_EQ(end.kind, SessionEndKind::kNoNotice) << end.text;
        unlink(_folder.At("X.app/X").c_str());
        return observer.tried;
    }

    // The status of a header-only image: it is unlocked, and nothing else of it is left.
    static int32_t Damage()
    {
        const auto &without = bitlocker::kSamplesWithoutMap;
        const bool hasMap =
            std::count(std::begin(without), std::end(without), std::string(GetParam())) == 0;
        return static_cast<int32_t>(hasMap ? VolumeLibraryStatus::kFileSystemDamaged
                                           : VolumeLibraryStatus::kConversionMapDamaged);
    }

    // The kind and the secret that the explorer was given.
    std::string Given() const
    {
        EXPECT_TRUE(Eventually([this] { return PipeFolder::Exists(_told); }));
        std::istringstream text(_folder.ReadFile("told"));
        std::string volume;
        std::string kind;
        std::string secret;
        std::getline(text, volume);
        std::getline(text, kind);
        std::getline(text, secret);
        unlink(_told.c_str());
        return kind + " " + secret;
    }

    SampleImages &samples = SampleImages::Shared();
    const SampleKeys keys{};
    const TemporaryFolder _folder;
    const std::string _told = _folder.At("told");
};

// The explorer is given the master key of what opened, if the secret leads to it.
TEST_P(SampleHost, OpensWithEverySecretOrSaysThatItsFileSystemIsDamaged)
{
    const bool hasFiles = std::string(GetParam()).rfind("bitlk-", 0) != 0;
    std::string masterKey;
    for (const auto &[kind, secret] : keys.FewerWaysToOpen(GetParam()))
        masterKey = kind == std::string("vmk") ? secret : masterKey;
    ASSERT_NE(masterKey, "");
    for (const auto &[kind, secret] : keys.FewerWaysToOpen(GetParam())) {
        SCOPED_TRACE(kind + (" " + secret));
        // Its long search is tried with three volumes.
        if (!hasFiles && kind == std::string("key-ring"))
            continue;
        const TrialResult tried = Run(kind, secret);
        EXPECT_TRUE(tried.wasTried);
        EXPECT_EQ(tried.opened, hasFiles) << tried.reason;
        EXPECT_EQ(tried.status, hasFiles ? 0 : Damage()) << tried.reason;
        const bool isDerived = hasFiles && kind != std::string("fvek");
        EXPECT_EQ(Given(), isDerived ? "vmk " + masterKey : kind + (" " + secret));
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleHost, testing::ValuesIn(bitlocker::kReadableSamples),
                         [](const auto &tested) { return SampleImages::TestName(tested.param); });
INSTANTIATE_TEST_SUITE_P(SamplesWithoutMap, SampleHost,
                         testing::ValuesIn(bitlocker::kSamplesWithoutMap),
                         [](const auto &tested) { return SampleImages::TestName(tested.param); });

}  // namespace
}  // namespace vx
