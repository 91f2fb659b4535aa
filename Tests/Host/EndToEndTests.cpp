// volume-host and an explorer as two real processes, on the paths and at the pace of the
// product.
#include "EndToEndTest.h"
#include "RawPeer.h"
#include "TemporaryFolder.h"

#include <algorithm>
#include <chrono>

namespace {

TEST_F(EndToEndTest, TheQuitNoticeOfTheExplorerArrivesAndNothingIsLeftBehind)
{
    ChildProcess host(VOLUME_HOST, {"--explorer", ENTRY_EXPLORER, "some volume"});
    ASSERT_TRUE(Eventually([] { return PipeFolder::Exists(kToExplorer); }));
    EXPECT_FALSE(host.HasEnded());
    host.CloseInput();
    EXPECT_EQ(host.AwaitEnd(), 0);
    EXPECT_EQ(host.Output(), "volume-host: the explorer sent its quit notice\n");
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, WithoutStandardDescriptorsNothingElseTakesTheirPlaces)
{
    ChildProcess host("/bin/sh", {"-c", "exec \"$0\" \"$@\" <&- >&- 2>&-", VOLUME_HOST,
                                  "--explorer", FAKE_EXPLORER, "descriptors:" + _file});
    EXPECT_EQ(Reported(), kStandard + std::string("channel"));
    EXPECT_EQ(host.AwaitEnd(), 1);
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, TheExplorerTakesAMessageOfTheHostAndGoesOn)
{
    for (const char *code : {"5", "4294967295"}) {
        ChildProcess host(VOLUME_HOST,
                          {"--explorer", ENTRY_EXPLORER, "--send", code, "some volume"});
        ASSERT_TRUE(Eventually([] { return PipeFolder::Exists(kToExplorer); }));
        const FifoReader beside(kToExplorer);
        // The explorer may take it between two looks; it has been sent by the end of the wait.
        Eventually([&] { return beside.HasInput(); });
        EXPECT_TRUE(Eventually([&] { return !beside.HasInput(); })) << "nothing read it";
        host.CloseInput();
        EXPECT_EQ(host.AwaitEnd(), 0);
        EXPECT_EQ(host.Output(), "volume-host: the explorer sent its quit notice\n");
    }
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, AnEndWithoutANoticeIsReportedWithItsStatus)
{
    ChildProcess host = Host("exit");
    EXPECT_EQ(host.AwaitEnd(), 1);
    EXPECT_EQ(host.Output(),
              "volume-host: the explorer ended without a quit notice (exit status 3)\n");
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, AnExplorerThatCrashesIsReportedWithItsSignal)
{
    ChildProcess host = Host("crash");
    EXPECT_EQ(host.AwaitEnd(), 1);
    EXPECT_EQ(host.Output(), "volume-host: the explorer ended without a quit notice (signal 9)\n");
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, TheExplorerGetsExactlyFourArgumentsAndNoSecretAmongThem)
{
    ChildProcess host = Host("arguments", {"password", "open sesame"});
    const std::string reported = Reported();
    EXPECT_EQ(reported.rfind("host-channel\n", 0), 0u) << reported;
    EXPECT_EQ(reported.find("sesame"), std::string::npos) << reported;
    EXPECT_EQ(std::count(reported.begin(), reported.end(), '\n'), 3)
        << "and the volume is the first";
    host.AwaitEnd();
}

TEST_F(EndToEndTest, VolumeKindAndSecretComeOverTheChannel)
{
    ChildProcess host = Host("opening", {"password", "open sesame"});
    EXPECT_EQ(Reported(), "opening:" + _file + "\npassword\nopen sesame\n");
    host.AwaitEnd();
}

TEST_F(EndToEndTest, WithoutKindAndSecretTheKindIsNoneAndTheSecretEmpty)
{
    ChildProcess host = Host("opening");
    EXPECT_EQ(Reported(), "opening:" + _file + "\nnone\n\n");
    host.AwaitEnd();
}

TEST_F(EndToEndTest, WhatTheVolumeDidNotGiveIsSaidInOneLineEach)
{
    ChildProcess host = Host("damage");
    EXPECT_EQ(host.AwaitEnd(), 1);
    const std::string output = host.Output();
    for (const char *line : {"volume-host: damaged: /a\\x1b[2J.txt: 1,536 bytes could not be read "
                             "and were given as zeros (0 to 511, 4096 to 5119)\n",
                             "volume-host: damaged: /folder: entries of the folder are missing\n",
                             "volume-host: cannot open damage:"})
        EXPECT_NE(output.find(line), std::string::npos) << line << output;
    EXPECT_NE(output.find(" (status 22); the window will be empty\n"), std::string::npos) << output;
}

TEST_F(EndToEndTest, DamageAndAVolumeThatStayedShutAreStatusesOfTheirOwnAfterTheNotice)
{
    const std::string notice = "volume-host: the explorer sent its quit notice\n";
    for (const auto &[mode, status] : {std::pair("damage", 7), std::pair("shut", 8)}) {
        ChildProcess host = Host(std::string(mode) + "-and-notice");
        EXPECT_EQ(host.AwaitEnd(), status) << host.Output();
        EXPECT_NE(host.Output().find(notice), std::string::npos) << host.Output();
        EXPECT_EQ(host.Output().find("got lost"), std::string::npos) << host.Output();
    }
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, AnExplorerWhoseLibrarySaysNoFarewellMayHaveLostReports)
{
    ChildProcess host = Host("no-farewell-and-notice");
    EXPECT_EQ(host.AwaitEnd(), 7);
    EXPECT_NE(host.Output().find("volume-host: reports of damage got lost"), std::string::npos)
        << host.Output();
}

TEST_F(EndToEndTest, WhatIsReportedBetweenTheNoticeAndTheEndIsSaid)
{
    ChildProcess host = Host("notice-then-reports");
    const std::string explorer = Reported();
    ASSERT_TRUE(Eventually([&] { return host.Output().find("notice") != std::string::npos; }));
    host.Signal(SIGSTOP);
    std::ofstream(_file + ".go") << "go";
    EXPECT_TRUE(Eventually([&] { return !IsRunning(explorer); }));
    host.Signal(SIGCONT);
    EXPECT_EQ(host.AwaitEnd(), 7);
    const std::string output = host.Output();
    size_t reports = 0;
    for (size_t at = output.find("/late"); at != output.npos; at = output.find("/late", at + 1))
        ++reports;
    EXPECT_EQ(reports, 100u);
    EXPECT_EQ(output.find("got lost"), output.npos);
}

TEST_F(EndToEndTest, OtherMessagesOfTheExplorerAreNotTakenForItsNotice)
{
    ChildProcess host = Host("others");
    EXPECT_EQ(host.AwaitEnd(), 1);
    EXPECT_EQ(host.Output(),
              "volume-host: the explorer ended without a quit notice (exit status 0)\n");
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, AHostThatStandsStillDoesNotHoldTheExplorerUp)
{
    ChildProcess host = Host("flood");
    const std::string explorer = Reported();
    host.Signal(SIGSTOP);
    std::ofstream(_file + ".go") << "go";
    EXPECT_TRUE(Eventually([&] { return PipeFolder::Exists(_file + ".done"); }));
    EXPECT_EQ(ContentOf(_file + ".done"), "open");
    host.Signal(SIGCONT);
    EXPECT_EQ(host.AwaitEnd(), 1);
    EXPECT_NE(host.Output().find(" reports of damage got lost"), std::string::npos);
}

TEST_F(EndToEndTest, AnExplorerThatReportsWithoutEndCanBeInterrupted)
{
    ChildProcess host = Host("endless");
    const std::string explorer = Reported();
    ASSERT_TRUE(Eventually([&] { return host.Output().find("damaged: ") != std::string::npos; }));
    host.Signal(SIGTERM);
    EXPECT_EQ(host.AwaitEnd(), 128 + SIGTERM);
    EXPECT_FALSE(IsRunning(explorer));
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, AReportThatIsCutShortIsSaidToBeLost)
{
    ChildProcess host = Host("cut");
    EXPECT_EQ(host.AwaitEnd(), 1);
    EXPECT_NE(host.Output().find("volume-host: reports of damage got lost"), std::string::npos)
        << host.Output();
}

TEST_F(EndToEndTest, AHostThatWasKilledDoesNotHoldTheExplorerUp)
{
    ChildProcess host = Host("flood");
    Reported();
    host.Signal(SIGKILL);
    ASSERT_EQ(host.AwaitEnd(), -SIGKILL);
    std::ofstream(_file + ".go") << "go";
    EXPECT_TRUE(Eventually([&] { return PipeFolder::Exists(_file + ".done"); }));
    EXPECT_EQ(ContentOf(_file + ".done"), "ended");
}

class InterruptionTest : public EndToEndTest, public testing::WithParamInterface<int> {};

TEST_P(InterruptionTest, ASignalEndsTheExplorerAndCleansUp)
{
    ChildProcess host = Host("wait");
    const std::string explorer = Reported();
    ASSERT_TRUE(IsRunning(explorer));
    host.Signal(GetParam());
    EXPECT_EQ(host.AwaitEnd(), 128 + GetParam());
    EXPECT_FALSE(IsRunning(explorer));
    EXPECT_TRUE(NothingIsThere());
}

INSTANTIATE_TEST_SUITE_P(Signals, InterruptionTest,
                         testing::Values(SIGINT, SIGQUIT, SIGTERM, SIGHUP));

TEST_F(EndToEndTest, CtrlCWhileTheVolumeIsTriedStartsNoExplorer)
{
    const vx::TemporaryFolder programs;
    programs.MakeLink("libBitLockerWapper.dylib", INTERRUPTED_LIBRARY);
    const std::string explorer = programs.MakeLink("Explorer.app/explorer", FAKE_EXPLORER);
    ChildProcess host(VOLUME_HOST, {"--explorer", explorer, "wait:" + _file});
    EXPECT_EQ(host.AwaitEnd(), 128 + SIGINT);
    EXPECT_EQ(host.Output(),
              "volume-host: interrupted by signal 2; the explorer was not started\n");
    EXPECT_FALSE(PipeFolder::Exists(_file));
    EXPECT_TRUE(NothingIsThere());
}

// Kinds of unlock: one that the library gives up when it is asked to, one that it does not, and one
// during which it takes no signal either.
class OpeningTest : public EndToEndTest, public testing::WithParamInterface<const char *> {};

TEST_P(OpeningTest, ASignalToTheHostAloneEndsTheTryAsWell)
{
    const vx::TemporaryFolder folder;
    folder.MakeLink("libBitLockerWapper.dylib", CANCELLABLE_LIBRARY);
    const std::string explorer = folder.MakeLink("Explorer.app/explorer", FAKE_EXPLORER);
    ChildProcess host(VOLUME_HOST, {"--explorer", explorer, "wait:" + _file, "--unlock", GetParam(),
                                    folder.Path()});
    ASSERT_TRUE(Eventually([&] { return PipeFolder::Exists(folder.At("opening")); }));
    const auto start = std::chrono::steady_clock::now();
    host.Signal(SIGTERM);
    EXPECT_EQ(host.AwaitEnd(), 128 + SIGTERM);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_EQ(host.Output(),
              "volume-host: interrupted by signal 15; the explorer was not started\n");
    EXPECT_EQ(PipeFolder::Exists(folder.At("cancelled")), GetParam() == std::string("password"));
    EXPECT_FALSE(PipeFolder::Exists(_file));
    EXPECT_TRUE(NothingIsThere());
}

TEST_P(OpeningTest, AHostKilledDuringTheTryLeavesNoTrialBehindAndTheNextHostStartsAtOnce)
{
    const vx::TemporaryFolder folder;
    folder.MakeLink("libBitLockerWapper.dylib", CANCELLABLE_LIBRARY);
    const std::string explorer = folder.MakeLink("Explorer.app/explorer", FAKE_EXPLORER);
    ChildProcess host(VOLUME_HOST, {"--explorer", explorer, "wait:" + _file, "--unlock", GetParam(),
                                    folder.Path()});
    ASSERT_TRUE(Eventually([&] { return PipeFolder::Exists(folder.At("opening")); }));
    host.Signal(SIGKILL);
    ASSERT_EQ(host.AwaitEnd(), -SIGKILL);
    const auto killed = std::chrono::steady_clock::now();
    ChildProcess next = Host("exit");
    const std::string trial = ContentOf(folder.At("process"));
    EXPECT_TRUE(Eventually([&] { return !IsRunning(trial); }, std::chrono::seconds(5)));
    EXPECT_LT(std::chrono::steady_clock::now() - killed, std::chrono::seconds(2));
    EXPECT_EQ(next.AwaitEnd(), 1) << next.Output();
    EXPECT_EQ(PipeFolder::Exists(folder.At("cancelled")), GetParam() == std::string("password"));
    EXPECT_TRUE(NothingIsThere());
}

INSTANTIATE_TEST_SUITE_P(Kinds, OpeningTest, testing::Values("password", "deaf", "numb"),
                         [](const auto &kind) { return std::string(kind.param); });

TEST_F(EndToEndTest, ASecondHostIsRefusedWithAClearLineAndTheFirstGoesOn)
{
    ChildProcess first = Host("wait");
    const std::string explorer = Reported();
    ChildProcess second(VOLUME_HOST, {"some volume"});
    EXPECT_EQ(second.AwaitEnd(), 3);
    EXPECT_EQ(second.Output().find("volume-host: another host is running"), 0u);
    EXPECT_TRUE(PipeFolder::Exists(kToExplorer));
    EXPECT_TRUE(PipeFolder::Exists(kToHost));
    EXPECT_TRUE(IsRunning(explorer));
    first.Signal(SIGTERM);
    EXPECT_EQ(first.AwaitEnd(), 128 + SIGTERM);
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, AfterAHostWasKilledTheNextOneStarts)
{
    ChildProcess killed = Host("wait");
    const std::string orphan = Reported();
    killed.Signal(SIGKILL);
    ASSERT_EQ(killed.AwaitEnd(), -SIGKILL);
    EXPECT_TRUE(PipeFolder::Exists(kToHost));
    kill(std::stoi(orphan), SIGKILL);
    ChildProcess next = Host("exit");
    EXPECT_EQ(next.AwaitEnd(), 1);
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, AnExplorerThatOutlivedItsHostIsNotTakenForTheNextOnes)
{
    const std::string orphansFile = _folder.At("orphan");
    ChildProcess killed(VOLUME_HOST, {"--explorer", FAKE_EXPLORER, "notice-at-end:" + orphansFile});
    ASSERT_TRUE(Eventually([&] { return PipeFolder::Exists(orphansFile); }));
    killed.Signal(SIGKILL);
    ASSERT_EQ(killed.AwaitEnd(), -SIGKILL);
    ChildProcess next = Host("wait");
    const std::string explorer = Reported();
    killed.CloseInput();
    ASSERT_TRUE(Eventually([&] { return !PipeFolder::Exists(orphansFile); }));
    EXPECT_EQ(ContentOf(orphansFile + ".notice"), "lost");
    EXPECT_TRUE(IsRunning(explorer));
    next.Signal(SIGTERM);
    EXPECT_EQ(next.AwaitEnd(), 128 + SIGTERM);
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, TheExplorerInheritsNoDescriptorOfTheHostButTheChannel)
{
    ChildProcess host("/bin/sh", {"-c", "exec \"$0\" \"$@\" 3</dev/null 7</dev/null", VOLUME_HOST,
                                  "--explorer", FAKE_EXPLORER, "descriptors:" + _file});
    EXPECT_EQ(Reported(), kStandard + std::string("channel"));
    host.AwaitEnd();
}

TEST_F(EndToEndTest, AProgramThatTheExplorerStartsDoesNotHaveTheChannel)
{
    ChildProcess host = Host("child-descriptors");
    // The one through which it reads its own list is counted too; the shell's are the standard
    // ones.
    std::istringstream told(Reported());
    int more = 0;
    for (std::string number; told >> number;)
        more +=
            (" " + std::string(kStandard)).find(" " + number + " ") == std::string::npos ? 1 : 0;
    EXPECT_LE(more, 1) << told.str();
    host.AwaitEnd();
}

TEST_F(EndToEndTest, ASentMessageCarriesItsCode)
{
    ChildProcess host = Host("message", {"--send", "12"});
    EXPECT_EQ(Reported(), "1 12 13");
    host.AwaitEnd();
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, AMessageThatCannotBeSentIsSaid)
{
    ChildProcess host = Host("exit", {"--send", "12"});
    EXPECT_EQ(host.AwaitEnd(), 6);
    EXPECT_NE(host.Output().find("could not send the message"), std::string::npos);
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, AnExplorerThatStaysAfterItsNoticeIsEnded)
{
    ChildProcess host = Host("notice-and-wait");
    EXPECT_EQ(host.AwaitEnd(), 5);
    EXPECT_EQ(host.Output(),
              "volume-host: the explorer sent its quit notice\n"
              "volume-host: the explorer did not end after its quit notice and was ended\n");
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, AFileOnAFifosPathIsLeftAloneAndNamed)
{
    std::ofstream(kToExplorer) << "somebody's file";
    ChildProcess host(VOLUME_HOST, {"some volume"});
    EXPECT_EQ(host.AwaitEnd(), 3);
    EXPECT_NE(host.Output().find("/tmp/z5_btl_3 is in the way"), std::string::npos);
    std::string content;
    std::getline(std::ifstream(kToExplorer), content, '\0');
    EXPECT_EQ(content, "somebody's file");
    EXPECT_FALSE(PipeFolder::Exists(kToHost));
}

TEST_F(EndToEndTest, AnExplorerThatIsNotThereIsSaidAndNothingIsLeftBehind)
{
    ChildProcess host(VOLUME_HOST, {"--explorer", "/no/such/explorer", "some volume"});
    EXPECT_EQ(host.AwaitEnd(), 4);
    EXPECT_EQ(host.Output().find("volume-host: cannot start /no/such/explorer"), 0u);
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, WrongUseIsOneClearLineAndTheUsageWithStatus2)
{
    ChildProcess host(VOLUME_HOST, {});
    EXPECT_EQ(host.AwaitEnd(), 2);
    EXPECT_EQ(host.Output().find("volume-host: a volume is missing\nUsage: volume-host "), 0u);
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(EndToEndTest, HelpIsShownWithStatus0)
{
    ChildProcess host(VOLUME_HOST, {"--help"});
    EXPECT_EQ(host.AwaitEnd(), 0);
    EXPECT_EQ(host.Output().find("Usage: volume-host "), 0u);
}

}  // namespace
