// Closing windows as a desktop does it: through a window manager, at any time.
#include "Eventually.h"
#include "UserStallFixture.h"

#include <filesystem>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr uintmax_t kMiB = 1 << 20;

class UserCloseTest : public UserStallTest {
protected:
    void SetUp() override
    {
        UserStallTest::SetUp();
        StartWindowManager();
    }
};

TEST_F(UserCloseTest, TheMainWindowWithTheSheetUpEndsTheProgramWithTheNotice)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = Window("File Explorer");
    AskForPanel(main, 58);
    ClickCloseButton(main);
    ExpectNotice(host);
}

TEST_F(UserCloseTest, TheSheetIsCancelledByAKeyAndTheProgramGoesOn)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = Window("File Explorer");
    AskForPanel(main, 58);
    Key("alt+F4");
    EXPECT_TRUE(Eventually([&] { return IsGone(kPanel); }));
    EXPECT_FALSE(host.HasEnded());
    // As it does after any other way out of the sheet.
    AskForPanel(main, 58);
    Key("Escape");
    EXPECT_TRUE(Eventually([&] { return IsGone(kPanel); }));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserCloseTest, TheProgressWindowEndsItsSessionAsACompletedExportDoes)
{
    ChildProcess host(Install(STAND_IN), {"stalling", "none", _stall});
    const std::string main = StartStallingExport();
    Activate(Window("Export"));
    Key("alt+F4");
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    EXPECT_TRUE(Eventually([&] { return fs::exists(_home.At("opened")); }));
    EXPECT_EQ(_home.ReadFile("opened"), destination + "\n");
    EXPECT_FALSE(host.HasEnded());
    // The worker goes on, since it was not stopped.
    EXPECT_TRUE(Release());
    EXPECT_TRUE(Eventually([&] { return fs::file_size(_partial) == 12 * kMiB; }));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserCloseTest, TheMainWindowEndsTheProgramAlsoWhileAWorkerWithoutAWindowStillReads)
{
    ChildProcess host(Install(STAND_IN), {"stalling", "none", _stall});
    const std::string main = StartStallingExport();
    Activate(Window("Export"));
    Key("alt+F4");
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserCloseTest, TheMainWindowStaysWhileTheProgressWindowIsUp)
{
    ChildProcess host(Install(STAND_IN), {"stalling", "none", _stall});
    const std::string main = StartStallingExport();
    const std::string progress = Window("Export");
    ClickCloseButton(main);
    // The worker's reports come after the request: when they have been shown, it was answered.
    EXPECT_TRUE(Release());
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    EXPECT_EQ(fs::file_size(_partial), 12 * kMiB);
    EXPECT_FALSE(host.HasEnded());
    EXPECT_FALSE(IsGone("File Explorer"));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserCloseTest, AnExportThatEndsWhileTheMainWindowIsMinimisedDoesNotEndTheProgram)
{
    ChildProcess host(Install(STAND_IN), {"stalling", "none", _stall});
    const std::string main = StartStallingExport();
    Run("xdotool windowminimize --sync " + main);
    // The desktop puts the progress window aside with it, and the export goes on.
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    EXPECT_FALSE(fs::exists(_home.At("opened")));
    EXPECT_TRUE(Release());
    EXPECT_TRUE(Eventually([&] { return fs::exists(_home.At("opened")); }));
    EXPECT_EQ(fs::file_size(_partial), 12 * kMiB);
    // The last window's end is looked at a moment later.
    EXPECT_FALSE(Eventually([&] { return host.HasEnded(); }, std::chrono::seconds(1)));
    Run("xdotool windowmap --sync " + main);
    CloseAndExpectNotice(main, host);
}

TEST_F(UserCloseTest, TheProgressWindowComesBackWithTheMainWindow)
{
    ChildProcess host(Install(STAND_IN), {"stalling", "none", _stall});
    const std::string main = StartStallingExport();
    Run("xdotool windowminimize --sync " + Window("Export"));
    EXPECT_TRUE(Eventually([&] { return IsGone("File Explorer"); }));
    Run("xdotool windowmap --sync " + main);
    AwaitDrawn(Window("Export"));
    EXPECT_FALSE(fs::exists(_home.At("opened"))) << "its session has not ended";
    EXPECT_TRUE(Release());
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    EXPECT_EQ(fs::file_size(_partial), 12 * kMiB);
    CloseAndExpectNotice(main, host);
}

TEST_F(UserCloseTest, AnAlertIsGivenUpAndTheMainWindowBelowItStays)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = Window("File Explorer");
    AskForPanel(main, 58);
    // It goes between the typing and the confirming.
    Type(destination);
    EXPECT_EQ(rmdir(destination.c_str()), 0);
    Key("Return");
    const std::string alert = Window("Alert");
    AwaitDrawn(alert);
    ClickCloseButton(main);
    EXPECT_FALSE(IsGone("Alert"));
    Activate(alert);
    Key("alt+F4");
    EXPECT_TRUE(Eventually([&] { return IsGone("Alert"); }));
    EXPECT_FALSE(host.HasEnded());
    EXPECT_FALSE(fs::exists(_home.At("opened")));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserCloseTest, TheMainWindowDuringAListingEndsTheProgramWithTheNotice)
{
    ChildProcess host(Install(STAND_IN), {"stalling-listing", "none", _stall});
    const std::string main = DrawnWindow();
    Activate(main);
    Click(main, 9, 60);
    Key("alt+F4");
    EXPECT_FALSE(host.HasEnded());
    EXPECT_TRUE(Release());
    ExpectNotice(host);
}

}  // namespace
