#include "VolumeTrial.h"

#include "HostChannel.h"
#include "SessionEvents.h"
#include "SpawnedProcess.h"
#include "TrialProgram.h"

#include "Eventually.h"
#include "RecordingObserver.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sys/socket.h>
#include <sys/stat.h>

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
    EXPECT_TRUE(_trial.TakesTexts()) << "it exports nothing that came with the channel";
}

TEST_F(VolumeTrialTest, AReasonIsOneLineWithoutControlCharacters)
{
    const std::string name = "e\x1b]0;hi\a\nsecond.img";
    _folder.WriteFile(name, "x");
    const vx::TrialResult &result = Try(_folder.At(name));
    EXPECT_FALSE(result.opened);
    EXPECT_THAT(result.reason, HasSubstr("/e\\x1b]0;hi\\x07\\nsecond.img: "));
    EXPECT_EQ(result.reason.find_first_of("\x1b\a\n"), std::string::npos);
}

TEST_F(VolumeTrialTest, AReasonWhyItWasNotTriedIsOneLineAsWell)
{
    _request.programs.trial = _folder.Path() + "/\x1b[2J\n";
    EXPECT_THAT(Try("/").reason, HasSubstr("/\\x1b[2J\\n: "));
}

TEST(TrialWords, OfADetailAreEscapedLineByLine)
{
    const std::string hostile = "name \x1b[2J\r\nsecond \xe2\x80\xae line";
    EXPECT_THAT(vx::ResultOf({0, hostile}, "v").warnings,
                testing::ElementsAre("name \\x1b[2J\\x0d", "second \\u202e line"));
    const std::string shown = "name \\x1b[2J\\x0d\\nsecond \\u202e line";
    EXPECT_THAT(vx::ResultOf({22, hostile}, "v").reason, HasSubstr(shown));
    EXPECT_EQ(vx::ResultOf({vx::kNoVolumeLibrary, hostile}, "v").reason, shown);
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

TEST_F(VolumeTrialTest, ATrialThatDoesNotBeginIsReported)
{
    _request.programs.trial = _folder.Path() + "/trial";
    std::ofstream(_request.programs.trial) << "#!/bin/sh\nexit 2\n";
    ASSERT_EQ(chmod(_request.programs.trial.c_str(), 0700), 0);
    const vx::TrialResult &result = Try("/");
    EXPECT_FALSE(result.wasTried);
    EXPECT_THAT(result.reason, HasSubstr("did not get what it is to open"));
}

TEST_F(VolumeTrialTest, AnUnknownPlaceOfTheTrialIsReported)
{
    _request.programs.trial.clear();
    const vx::TrialResult &result = Try("/");
    EXPECT_FALSE(result.wasTried);
    EXPECT_THAT(result.reason, HasSubstr("does not say where volume-trial is"));
}

// The buffer of the socket is full long before the key; the host reads only then.
TEST_F(VolumeTrialTest, AHostThatStallsGetsTheWholeAnswerAndTheKeyNevertheless)
{
    vx::HostChannel channel;
    ASSERT_TRUE(channel.Prepare({"volume", "talkative", ""}));
    const int smallest = 1;
    ASSERT_EQ(
        setsockopt(channel.ChildDescriptor(), SOL_SOCKET, SO_SNDBUF, &smallest, sizeof smallest),
        0);
    vx::SpawnedProcess trial(_pipe);
    {
        const vx::Inheritance inheritance(channel.ChildDescriptor());
        const std::string number = std::to_string(inheritance.Number());
        ASSERT_EQ(trial.Start(VOLUME_TRIAL, {KEY_LIBRARY, number.c_str()}, &inheritance), 0);
    }
    channel.CloseChildDescriptor();
    EXPECT_FALSE(Eventually([&] { return trial.HasEnded(); }, std::chrono::milliseconds(300)));
    size_t detail = 0, key = 0;
    const auto take = [&] {
        while (const auto report = channel.Read()) {
            if (const auto *opened = std::get_if<vx::ChannelOpened>(&*report))
                detail = opened->detail.size();
            else if (const auto *found = std::get_if<vx::ChannelMasterKey>(&*report))
                key = found->key.Size();
        }
        return channel.HasEnded();
    };
    EXPECT_TRUE(Eventually(take));
    EXPECT_EQ(channel.Error(), "");
    EXPECT_EQ(detail, 50000u);
    EXPECT_EQ(key, 32u);
}

TEST_F(VolumeTrialTest, ASecretThatIsTooLongForTheChannelIsReported)
{
    const vx::TrialResult &result = Try(std::string(5000, 'a'));
    EXPECT_FALSE(result.wasTried);
    EXPECT_THAT(result.reason, HasSubstr("the volume was not tried: "));
}

}  // namespace
