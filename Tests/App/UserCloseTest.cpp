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
        startWindowManager();
    }
};

TEST_F(UserCloseTest, TheMainWindowWithTheSheetUpEndsTheProgramWithTheNotice)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = window("File Explorer");
    askForPanel(main, 58);
    clickCloseButton(main);
    expectNotice(host);
}

TEST_F(UserCloseTest, TheSheetIsCancelledByAKeyAndTheProgramGoesOn)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = window("File Explorer");
    askForPanel(main, 58);
    key("alt+F4");
    EXPECT_TRUE(Eventually([&] { return isGone(kPanel); }));
    EXPECT_FALSE(host.HasEnded());
    // As it does after any other way out of the sheet.
    askForPanel(main, 58);
    key("Escape");
    EXPECT_TRUE(Eventually([&] { return isGone(kPanel); }));
    closeAndExpectNotice(main, host);
}

TEST_F(UserCloseTest, TheProgressWindowEndsItsSessionAsACompletedExportDoes)
{
    ChildProcess host(install(STAND_IN), {"stalling", "none", _stall});
    const std::string main = startStallingExport();
    activate(window("Export"));
    key("alt+F4");
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    EXPECT_TRUE(Eventually([&] { return fs::exists(_home.At("opened")); }));
    EXPECT_EQ(_home.ReadFile("opened"), destination + "\n");
    EXPECT_FALSE(host.HasEnded());
    // The worker goes on, since it was not stopped.
    EXPECT_TRUE(release());
    EXPECT_TRUE(Eventually([&] { return fs::file_size(_partial) == 12 * kMiB; }));
    closeAndExpectNotice(main, host);
}

TEST_F(UserCloseTest, TheMainWindowEndsTheProgramAlsoWhileAWorkerWithoutAWindowStillReads)
{
    ChildProcess host(install(STAND_IN), {"stalling", "none", _stall});
    const std::string main = startStallingExport();
    activate(window("Export"));
    key("alt+F4");
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    closeAndExpectNotice(main, host);
}

TEST_F(UserCloseTest, TheMainWindowStaysWhileTheProgressWindowIsUp)
{
    ChildProcess host(install(STAND_IN), {"stalling", "none", _stall});
    const std::string main = startStallingExport();
    const std::string progress = window("Export");
    clickCloseButton(main);
    // The worker's reports come after the request: when they have been shown, it was answered.
    EXPECT_TRUE(release());
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    EXPECT_EQ(fs::file_size(_partial), 12 * kMiB);
    EXPECT_FALSE(host.HasEnded());
    EXPECT_FALSE(isGone("File Explorer"));
    closeAndExpectNotice(main, host);
}

TEST_F(UserCloseTest, AnExportThatEndsWhileTheMainWindowIsMinimisedDoesNotEndTheProgram)
{
    ChildProcess host(install(STAND_IN), {"stalling", "none", _stall});
    const std::string main = startStallingExport();
    run("xdotool windowminimize --sync " + main);
    // The desktop puts the progress window aside with it, and the export goes on.
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    EXPECT_FALSE(fs::exists(_home.At("opened")));
    EXPECT_TRUE(release());
    EXPECT_TRUE(Eventually([&] { return fs::exists(_home.At("opened")); }));
    EXPECT_EQ(fs::file_size(_partial), 12 * kMiB);
    // The last window's end is looked at a moment later.
    EXPECT_FALSE(Eventually([&] { return host.HasEnded(); }, std::chrono::seconds(1)));
    run("xdotool windowmap --sync " + main);
    closeAndExpectNotice(main, host);
}

TEST_F(UserCloseTest, TheProgressWindowComesBackWithTheMainWindow)
{
    ChildProcess host(install(STAND_IN), {"stalling", "none", _stall});
    const std::string main = startStallingExport();
    run("xdotool windowminimize --sync " + window("Export"));
    EXPECT_TRUE(Eventually([&] { return isGone("File Explorer"); }));
    run("xdotool windowmap --sync " + main);
    awaitDrawn(window("Export"));
    EXPECT_FALSE(fs::exists(_home.At("opened"))) << "its session has not ended";
    EXPECT_TRUE(release());
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    EXPECT_EQ(fs::file_size(_partial), 12 * kMiB);
    closeAndExpectNotice(main, host);
}

TEST_F(UserCloseTest, AnAlertIsGivenUpAndTheMainWindowBelowItStays)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = window("File Explorer");
    askForPanel(main, 58);
    // It goes between the typing and the confirming.
    type(destination);
    EXPECT_EQ(rmdir(destination.c_str()), 0);
    key("Return");
    const std::string alert = window("Alert");
    awaitDrawn(alert);
    clickCloseButton(main);
    EXPECT_FALSE(isGone("Alert"));
    activate(alert);
    key("alt+F4");
    EXPECT_TRUE(Eventually([&] { return isGone("Alert"); }));
    EXPECT_FALSE(host.HasEnded());
    EXPECT_FALSE(fs::exists(_home.At("opened")));
    closeAndExpectNotice(main, host);
}

TEST_F(UserCloseTest, TheMainWindowDuringAListingEndsTheProgramWithTheNotice)
{
    ChildProcess host(install(STAND_IN), {"stalling-listing", "none", _stall});
    const std::string main = drawnWindow();
    activate(main);
    click(main, 9, 60);
    key("alt+F4");
    EXPECT_FALSE(host.HasEnded());
    EXPECT_TRUE(release());
    expectNotice(host);
}

}  // namespace
