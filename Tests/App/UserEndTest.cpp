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
    void expectWindowAndNotice(ChildProcess &host) { closeAndExpectNotice(drawnWindow(), host); }
};

TEST_F(UserEndTest, AMissingLibraryLeavesAnEmptyWindowAndClosingItSendsTheNotice)
{
    ChildProcess host(install(""), {_volume.Path()});
    expectWindowAndNotice(host);
}

TEST_F(UserEndTest, ALibraryWithoutTheEntryLeavesAnEmptyWindowAndClosingItSendsTheNotice)
{
    ChildProcess host(install(ENTRYLESS), {_volume.Path()});
    expectWindowAndNotice(host);
}

TEST_F(UserEndTest, ANonZeroStatusLeavesAnEmptyWindowAndClosingItSendsTheNotice)
{
    ChildProcess host(install(STAND_IN), {"status=22"});
    expectWindowAndNotice(host);
}

TEST_F(UserEndTest, ClosingThroughTheWindowManagerSendsTheNotice)
{
    startWindowManager();
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    expectWindowAndNotice(host);
}

TEST_F(UserEndTest, QuittingWithTheSheetUpEndsTheProgramWithTheNotice)
{
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = drawnWindow();
    click(main, 100, 58);
    focus(main);
    key("ctrl+e");
    const std::string panel = window(kPanel);
    awaitDrawn(panel);
    focus(panel);
    key("ctrl+q");
    expectNotice(host);
}

TEST_F(UserEndTest, AFolderWithoutWritePermissionIsRefusedAndTheProgramGoesOn)
{
    const std::string volume = _volume.Path();
    _volume.WriteFile("a.txt", "a");
    chmod(destination.c_str(), 0555);
    // Everything as an ordinary user, since root may write anywhere.
    std::vector<std::string> arguments = {install(LIBRARY), volume};
    if (geteuid() == 0)
        arguments.insert(arguments.begin(), {"setpriv", "--reuid=nobody", "--clear-groups"});
    run("chmod -R a+rX '" + volume + "' '" + _destination.Path() + "'");
    run("chmod -R a+rwX '" + _home.Path() + "' && chown -R nobody '" + _home.Path() + "'");
    ChildProcess host("/usr/bin/env", arguments);
    const std::string main = drawnWindow();
    click(main, 100, 58);
    focus(main);
    key("ctrl+e");
    chooseFolder(destination);
    // The alert has no title of its own; Return presses its button.
    const std::string alert = window("Alert");
    awaitDrawn(alert);
    focus(alert);
    key("Return");
    EXPECT_TRUE(Eventually([&] { return isGone("Alert"); }));
    EXPECT_TRUE(fs::is_empty(destination));
    EXPECT_FALSE(fs::exists(_home.At("opened")));
    closeAndExpectNotice(main, host);
}

}  // namespace
