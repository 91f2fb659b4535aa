// The menus in the window, and what the program reports about its windows to the desktop.
#include "Eventually.h"
#include "UserFixture.h"

#include <algorithm>
#include <cstdlib>

namespace {

// Where the titles of the menus lie.
constexpr int kApplicationX = 50, kEditX = 118, kTitleY = 13;

class UserMenuTest : public UserTest {
protected:
    // The ids of all windows of the program that are on the screen.
    static std::string Windows()
    {
        return Run("xdotool search --onlyvisible --classname FileExplorer");
    }
    static long WindowCount()
    {
        const std::string ids = Windows();
        return std::count(ids.begin(), ids.end(), '\n');
    }
    // How far right of the main window's left edge the open menu begins; -1 without a menu.
    static int MenuX(const std::string &main)
    {
        const std::string ids = Windows();
        for (size_t at = 0, end = 0; (end = ids.find('\n', at)) != std::string::npos; at = end + 1)
            if (ids.substr(at, end - at) != main)
                return Geometry(ids.substr(at, end - at), "X=") - Geometry(main, "X=");
        return -1;
    }
};

TEST_F(UserMenuTest, AClickOnAnotherTitleOpensThatTitlesMenu)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    Click(main, kApplicationX, kTitleY);
    EXPECT_TRUE(Eventually([&] { return MenuX(main) >= 0 && MenuX(main) < kApplicationX; }));
    // A quick hand: no time between the pointer's coming and the click.
    Run("xdotool mousemove --window " + main + " " + std::to_string(kEditX) + " " +
        std::to_string(kTitleY) + " mousedown 1 sleep 0.05 mouseup 1 sleep 0.5");
    EXPECT_EQ(WindowCount(), 2);
    EXPECT_TRUE(Eventually([&] { return MenuX(main) > kApplicationX; }));
    // One on the title of the menu that is open closes it.
    Click(main, kEditX, kTitleY);
    EXPECT_TRUE(Eventually([&] { return WindowCount() == 1; }));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserMenuTest, EscapeClosesAMenuAndNoOtherKeyReachesTheWindowBelow)
{
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    Key("ctrl+a");
    Click(main, kEditX, kTitleY);
    EXPECT_TRUE(Eventually([&] { return WindowCount() == 2; }));
    // In the tree this key exports.
    Key("Return");
    EXPECT_EQ(WindowCount(), 2);
    Key("Escape");
    EXPECT_TRUE(Eventually([&] { return WindowCount() == 1; }));
    EXPECT_FALSE(Eventually([&] { return WindowCount() > 1; }, std::chrono::seconds(1)));
    // Keys are the window's again.
    Key("Return");
    const std::string panel = Window(kPanel);
    AwaitDrawn(panel);
    Focus(panel);
    Key("Escape");
    EXPECT_TRUE(Eventually([&] { return IsGone(kPanel); }));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserMenuTest, APanelThatAMenusCommandPutsUpTakesItsOwnKeys)
{
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    Key("ctrl+a");
    Click(main, kApplicationX, kTitleY);
    EXPECT_TRUE(Eventually([&] { return WindowCount() == 2; }));
    // The second command, below About and a line.
    Click(main, kApplicationX, 68);
    ChooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return SameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserMenuTest, AKeyTakesTheToolTipAway)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    Run("xdotool mousemove --window " + main + " 700 558 sleep 0.3 mousemove --window " + main +
        " 820 558 sleep 0.1 mousemove --window " + main + " 821 558");
    EXPECT_TRUE(Eventually([&] { return WindowCount() == 2; }));
    Key("Home");
    EXPECT_TRUE(Eventually([&] { return WindowCount() == 1; }));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserMenuTest, TheDesktopKeepsAPanelAndItsWindowTogether)
{
    StartWindowManager();
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = Window("File Explorer");
    const std::string panel = AskForPanel(main, 58);
    Run("xdotool windowminimize --sync " + panel);
    EXPECT_TRUE(Eventually([&] { return IsGone("File Explorer"); }));
    EXPECT_TRUE(IsGone(kPanel));
    Run("xdotool windowmap --sync " + main);
    AwaitDrawn(Window(kPanel));
    Activate(panel);
    Key("Escape");
    EXPECT_TRUE(Eventually([&] { return IsGone(kPanel); }));
    Activate(main);
    Key("alt+F4");
    ExpectNotice(host);
}

TEST_F(UserMenuTest, TheDesktopIsToldWhichWindowAMessageBelongsTo)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    Click(main, kApplicationX, kTitleY);
    EXPECT_TRUE(Eventually([&] { return WindowCount() == 2; }));
    Click(main, kApplicationX, 40);
    const std::string message = Window("Information");
    const std::string owner = Run("xprop -id " + message + " WM_TRANSIENT_FOR");
    const size_t number = owner.find("0x");
    ASSERT_NE(number, std::string::npos) << owner;
    EXPECT_EQ(strtol(&owner[number], nullptr, 16), atol(main.c_str()));
    Focus(message);
    Key("Return");
    EXPECT_TRUE(Eventually([&] { return IsGone("Information"); }));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserMenuTest, TheDisplayIsNotToldTheSecret)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path(), "none", "hush-hush"});
    const std::string main = DrawnWindow();
    const std::string told = Run("for id in $(xwininfo -root -tree | grep -o '0x[0-9a-f]*'); do "
                                 "xprop -id $id; done");
    EXPECT_NE(told.find("File Explorer"), std::string::npos);
    EXPECT_NE(told.find("WM_COMMAND"), std::string::npos);
    EXPECT_EQ(told.find("hush-hush"), std::string::npos);
    CloseAndExpectNotice(main, host);
}

}  // namespace
