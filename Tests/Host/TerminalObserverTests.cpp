// The exit status of volume-host, by what it has heard.
#include "TerminalObserver.h"

#include "ExitStatus.h"

#include "VolumeReport.h"

#include <gtest/gtest.h>

namespace {

using vx::SessionEndKind;
using vx::TrialResult;

class TerminalObserverTest : public testing::Test {
protected:
    static TrialResult Shut() { return {false, 22, "it does not open", {}, true}; }
    static TrialResult Opened() { return {true, 0, "", {}, true}; }
    // Of an explorer outside a bundle.
    static TrialResult Untried() { return {false, 0, "", {}, false}; }

    int StatusAt(SessionEndKind kind) { return _observer.ReportEnd({kind, 0, "text", true}); }

    vx::TerminalObserver _observer;
};

TEST_F(TerminalObserverTest, AllIsWellOnlyIfTheVolumeOpenedAndGaveEverything)
{
    _observer.OnTried(Opened());
    EXPECT_EQ(StatusAt(SessionEndKind::kQuit), vx::kExitSuccess);
}

TEST_F(TerminalObserverTest, NothingIsKnownOfAVolumeThatWasNotTriedFor)
{
    _observer.OnTried(Untried());
    EXPECT_EQ(StatusAt(SessionEndKind::kQuit), vx::kExitSuccess);
}

TEST_F(TerminalObserverTest, DamageIsAStatusOfItsOwn)
{
    _observer.OnTried(Opened());
    _observer.OnDamage({});
    EXPECT_EQ(StatusAt(SessionEndKind::kQuit), vx::kExitDamaged);
}

TEST_F(TerminalObserverTest, LostReportsCountAsDamage)
{
    for (const uint64_t count : {0, 3}) {
        vx::TerminalObserver observer;
        observer.OnTried(Opened());
        observer.OnReportsLost(count);
        EXPECT_EQ(observer.ReportEnd({}), vx::kExitDamaged);
    }
}

TEST_F(TerminalObserverTest, AVolumeThatStayedShutIsAStatusOfItsOwn)
{
    _observer.OnTried(Shut());
    EXPECT_EQ(StatusAt(SessionEndKind::kQuit), vx::kExitStayedShut);
}

TEST_F(TerminalObserverTest, WhatTheExplorerItselfOpenedCountsInTheEnd)
{
    _observer.OnTried(Shut());
    _observer.OnOpened(Opened());
    EXPECT_EQ(StatusAt(SessionEndKind::kQuit), vx::kExitSuccess);
    _observer.OnTried(Untried());
    _observer.OnOpened(Shut());
    EXPECT_EQ(StatusAt(SessionEndKind::kQuit), vx::kExitStayedShut);
}

std::string LineOn(const vx::ChannelDamage &damage)
{
    testing::internal::CaptureStderr();
    vx::TerminalObserver().OnDamage(damage);
    return testing::internal::GetCapturedStderr();
}

TEST_F(TerminalObserverTest, AFileWithoutKnownRangesIsNotSaidToLackNoByte)
{
    vx::ChannelDamage damage;
    damage.path = "/a";
    for (const uint64_t more : {0, 2}) {
        damage.more = more;
        EXPECT_EQ(LineOn(damage), "volume-host: damaged: /a: not all of it could be read\n");
    }
    damage.ranges = {{0, INT64_MAX - 1}};
    EXPECT_EQ(
        LineOn(damage),
        "volume-host: damaged: /a: at least 9,223,372,036,854,775,806 bytes could not be read "
        "and were given as zeros (0 to 9223372036854775805 and 2 more ranges)\n");
}

TEST_F(TerminalObserverTest, AFileIsSaidWithItsRangesAndTheReason)
{
    const auto unreadable = static_cast<uint32_t>(VolumeObstacle::kUnreadable);
    EXPECT_EQ(
        LineOn({vx::ChannelDamageKind::kFileData, unreadable, "/a\n", {{0, 512}, {600, 1}}, 0}),
        "volume-host: damaged: /a\\n: 513 bytes could not be read and were given as zeros "
        "(0 to 511, 600): blocks that it needs cannot be read\n");
    EXPECT_EQ(LineOn({vx::ChannelDamageKind::kFileClosed,
                      static_cast<uint32_t>(VolumeObstacle::kDamaged),
                      "/b",
                      {},
                      0}),
              "volume-host: not read: /b: the file could not be opened: its records on the disk "
              "contradict each other\n");
    EXPECT_EQ(
        LineOn({vx::ChannelDamageKind::kFileClosed,
                static_cast<uint32_t>(VolumeObstacle::kNoPermission),
                "/c",
                {},
                0}),
        "volume-host: not read: /c: the file could not be opened: no permission to read it\n");
    EXPECT_EQ(LineOn({vx::ChannelDamageKind::kFileClosed,
                      static_cast<uint32_t>(VolumeObstacle::kOnlyInCloud),
                      "/d",
                      {},
                      0}),
              "volume-host: not read: /d: the file could not be opened: it is only in the cloud\n");
}

TEST_F(TerminalObserverTest, ALineNamesSomeRangesAndCountsTheOthers)
{
    vx::ChannelDamage damage;
    damage.path = "/a";
    for (uint64_t i = 0; i < 10000; ++i)
        damage.ranges.push_back({2 * i, 1});
    damage.more = 5;
    const std::string line = LineOn(damage);
    EXPECT_NE(line.find("(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30 and 9,989 more "
                        "ranges)"),
              std::string::npos)
        << line;
    EXPECT_LT(line.size(), 300u);
}

TEST_F(TerminalObserverTest, AFolderIsSaidWithHowManyEntriesItLacks)
{
    vx::ChannelDamage damage;
    damage.kind = vx::ChannelDamageKind::kFolder;
    damage.path = "/f";
    EXPECT_EQ(LineOn(damage), "volume-host: damaged: /f: entries of the folder are missing\n");
    damage.more = 1;
    EXPECT_EQ(LineOn(damage),
              "volume-host: damaged: /f: at least 1 entry of the folder is missing\n");
    damage.more = 2000;
    EXPECT_EQ(LineOn(damage),
              "volume-host: damaged: /f: at least 2,000 entries of the folder are missing\n");
}

TEST_F(TerminalObserverTest, AnEndThatWentWrongKeepsItsStatus)
{
    _observer.OnTried(Shut());
    _observer.OnDamage({});
    EXPECT_EQ(StatusAt(SessionEndKind::kNoNotice), vx::kExitNoNotice);
    EXPECT_EQ(StatusAt(SessionEndKind::kEndedByHost), vx::kExitEndedByHost);
    EXPECT_EQ(StatusAt(SessionEndKind::kLinkTaken), vx::kExitLinkTaken);
    EXPECT_EQ(_observer.ReportEnd({SessionEndKind::kQuit, 0, "", false}), vx::kExitNotSent);
}

}  // namespace
