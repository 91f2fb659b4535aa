// Ways to end the program, and what refuses to work.
#include "Eventually.h"
#include "UserFixture.h"

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class UserEndTest : public UserTest {
protected:
    // The program starts, shows its window, and closing that brings the notice.
    void ExpectWindowAndNotice(ChildProcess &host, int status = 0)
    {
        CloseAndExpectNotice(DrawnWindow(), host, status);
    }
};

TEST_F(UserEndTest, AMissingLibraryLeavesAnEmptyWindowAndClosingItSendsTheNotice)
{
    ChildProcess host(Install(""), {_volume.Path()});
    ExpectWindowAndNotice(host, kStayedShut);
}

TEST_F(UserEndTest, ALibraryWithoutTheEntryLeavesAnEmptyWindowAndClosingItSendsTheNotice)
{
    ChildProcess host(Install(ENTRYLESS), {_volume.Path()});
    ExpectWindowAndNotice(host, kStayedShut);
}

TEST_F(UserEndTest, ANonZeroStatusLeavesAnEmptyWindowAndClosingItSendsTheNotice)
{
    ChildProcess host(Install(STAND_IN), {"status=22"});
    ExpectWindowAndNotice(host, kStayedShut);
}

TEST_F(UserEndTest, ClosingThroughTheWindowManagerSendsTheNotice)
{
    StartWindowManager();
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    ExpectWindowAndNotice(host);
}

TEST_F(UserEndTest, QuittingWithTheSheetUpEndsTheProgramWithTheNotice)
{
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Click(main, 100, 58);
    Focus(main);
    Key("ctrl+e");
    const std::string panel = Window(kPanel);
    AwaitDrawn(panel);
    Focus(panel);
    Key("ctrl+q");
    ExpectNotice(host);
}

TEST_F(UserEndTest, AFolderWithoutWritePermissionIsRefusedAndTheProgramGoesOn)
{
    const std::string volume = _volume.Path();
    _volume.WriteFile("a.txt", "a");
    chmod(destination.c_str(), 0555);
    // Everything as an ordinary user, since root may write anywhere.
    std::vector<std::string> arguments = {Install(LIBRARY), volume};
    if (geteuid() == 0)
        arguments.insert(arguments.begin(), {"setpriv", "--reuid=nobody", "--clear-groups"});
    Run("chmod -R a+rX '" + volume + "' '" + _destination.Path() + "'");
    Run("chmod -R a+rwX '" + _home.Path() + "' && chown -R nobody '" + _home.Path() + "'");
    ChildProcess host("/usr/bin/env", arguments);
    const std::string main = DrawnWindow();
    Click(main, 100, 58);
    Focus(main);
    Key("ctrl+e");
    ChooseFolder(destination);
    // The alert has no title of its own; Return presses its button.
    const std::string alert = Window("Alert");
    AwaitDrawn(alert);
    Focus(alert);
    Key("Return");
    EXPECT_TRUE(Eventually([&] { return IsGone("Alert"); }));
    EXPECT_TRUE(fs::is_empty(destination));
    EXPECT_FALSE(fs::exists(_home.At("opened")));
    CloseAndExpectNotice(main, host);
}

}  // namespace
