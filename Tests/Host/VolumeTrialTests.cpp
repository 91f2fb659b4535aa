#include "VolumeTrial.h"

#include "SessionEvents.h"

#include "RecordingObserver.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

class VolumeTrialTest : public testing::Test {
protected:
    VolumeTrialTest() { _request.programs = {kExplorer, VOLUME_TRIAL, ""}; }

    const vx::TrialResult &Try(const std::string &volume, const char *kind = "none",
                               const std::string &secret = "")
    {
        _request.volume = volume;
        _request.kind = kind;
        for (const char sign : secret)
            _request.secret.Append(sign);
        _trial.Run(_request);
        return _trial.Result();
    }

    // Where the explorer lies beside the built volume library; the program itself is not started.
    static constexpr char kExplorer[] = VX_RUNTIME_DIR "/FileExplorer.app/FileExplorer";

    vx::EventPipe _pipe;
    vx::SessionEvents _events{_pipe};
    RecordingObserver _observer;
    vx::VolumeTrial _trial{_pipe, _events, _observer};
    vx::HostRequest _request;
    const vx::TemporaryFolder _folder;
};

TEST_F(VolumeTrialTest, AVolumeThatOpensGivesNoReason)
{
    const vx::TrialResult &result = Try(_folder.Path());
    EXPECT_TRUE(result.wasTried);
    EXPECT_TRUE(result.opened);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.reason, "");
    EXPECT_EQ(_trial.KeyDigits().Size(), 0u) << "nothing was unlocked";
}

TEST_F(VolumeTrialTest, AVolumeThatDoesNotExistIsReportedInWordsWithItsStatus)
{
    const vx::TrialResult &result = Try(_folder.Path() + "/missing");
    EXPECT_FALSE(result.opened);
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.reason, HasSubstr("cannot open " + _folder.Path() + "/missing: "));
    EXPECT_THAT(result.reason, HasSubstr("(status 3)"));
}

TEST_F(VolumeTrialTest, WhatIsNoticedOfAVolumeThatOpensIsAWarning)
{
    const std::string disk = _folder.Path() + "/disk.img";
    const std::string make = "PATH=\"$PATH:/usr/sbin:/sbin\"; truncate -s 8M '" + disk +
                             "' && mkfs.fat -F 12 '" + disk + "' >/dev/null && truncate -s 3M '" +
                             disk + "'";
    if (std::system(make.c_str()) != 0)
        GTEST_SKIP() << "mkfs.fat is missing; see docs/building.md";
    const vx::TrialResult &result = Try(disk);
    EXPECT_TRUE(result.opened);
    EXPECT_THAT(result.warnings,
                testing::ElementsAre(HasSubstr("ends 5 MiB before the volume does")));
}

TEST_F(VolumeTrialTest, TheSecretIsNotRepeated)
{
    _folder.WriteFile("disk.img", std::string(4096, 'x'));
    const vx::TrialResult &result = Try(_folder.Path() + "/disk.img", "recovery", "111111-secret");
    EXPECT_NE(result.reason, "");
    EXPECT_EQ(result.reason.find("111111-secret"), std::string::npos);
}

TEST_F(VolumeTrialTest, AMissingLibraryIsReported)
{
    _request.programs.explorer = _folder.Path() + "/X.app/X";
    const vx::TrialResult &result = Try("/");
    EXPECT_TRUE(result.wasTried);
    EXPECT_FALSE(result.opened);
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.reason, HasSubstr("the volume library does not load"));
}

TEST_F(VolumeTrialTest, ALibraryWithoutTheEntryIsReported)
{
    _folder.MakeLink("libBitLockerWapper.dylib", ENTRYLESS_LIBRARY);
    _request.programs.explorer = _folder.Path() + "/X.app/X";
    EXPECT_THAT(Try("/").reason, HasSubstr("has no entry \"open_bitlocker_device\": " +
                                           _folder.Path() + "/libBitLockerWapper.dylib"));
    EXPECT_TRUE(_trial.TakesTexts());
}

TEST_F(VolumeTrialTest, ALibraryThatCrashesIsReported)
{
    _folder.MakeLink("libBitLockerWapper.dylib", CRASHING_LIBRARY);
    _request.programs.explorer = _folder.Path() + "/X.app/X";
    const vx::TrialResult &result = Try("/");
    EXPECT_TRUE(result.wasTried);
    EXPECT_FALSE(result.opened);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.reason, "the volume library ended unexpectedly");
    EXPECT_FALSE(_trial.TakesTexts()) << "no secret in the arguments without need";
}

TEST_F(VolumeTrialTest, AnExplorerOutsideABundleIsNotTriedFor)
{
    _request.programs.explorer = "/bin/true";
    const vx::TrialResult &result = Try("/does/not/exist");
    EXPECT_FALSE(result.wasTried);
    EXPECT_EQ(result.reason, "");
}

TEST_F(VolumeTrialTest, ATrialThatCannotBeStartedIsReported)
{
    _request.programs.trial = _folder.Path() + "/volume-trial";
    const vx::TrialResult &result = Try("/");
    EXPECT_FALSE(result.wasTried);
    EXPECT_THAT(result.reason, HasSubstr("cannot start " + _folder.Path() + "/volume-trial: "));
}

TEST_F(VolumeTrialTest, ASecretThatIsTooLongForTheChannelIsReported)
{
    const vx::TrialResult &result = Try(std::string(5000, 'a'));
    EXPECT_FALSE(result.wasTried);
    EXPECT_THAT(result.reason, HasSubstr("the volume was not tried: "));
}

}  // namespace
