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
    static std::string windows()
    {
        return run("xdotool search --onlyvisible --classname FileExplorer");
    }
    static long windowCount()
    {
        const std::string ids = windows();
        return std::count(ids.begin(), ids.end(), '\n');
    }
    // How far right of the main window's left edge the open menu begins; -1 without a menu.
    static int menuX(const std::string &main)
    {
        const std::string ids = windows();
        for (size_t at = 0, end = 0; (end = ids.find('\n', at)) != std::string::npos; at = end + 1)
            if (ids.substr(at, end - at) != main)
                return geometry(ids.substr(at, end - at), "X=") - geometry(main, "X=");
        return -1;
    }
};

TEST_F(UserMenuTest, AClickOnAnotherTitleOpensThatTitlesMenu)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = drawnWindow();
    focus(main);
    click(main, kApplicationX, kTitleY);
    EXPECT_TRUE(Eventually([&] { return menuX(main) >= 0 && menuX(main) < kApplicationX; }));
    // A quick hand: no time between the pointer's coming and the click.
    run("xdotool mousemove --window " + main + " " + std::to_string(kEditX) + " " +
        std::to_string(kTitleY) + " mousedown 1 sleep 0.05 mouseup 1 sleep 0.5");
    EXPECT_EQ(windowCount(), 2);
    EXPECT_TRUE(Eventually([&] { return menuX(main) > kApplicationX; }));
    // One on the title of the menu that is open closes it.
    click(main, kEditX, kTitleY);
    EXPECT_TRUE(Eventually([&] { return windowCount() == 1; }));
    closeAndExpectNotice(main, host);
}

TEST_F(UserMenuTest, EscapeClosesAMenuAndNoOtherKeyReachesTheWindowBelow)
{
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = drawnWindow();
    focus(main);
    key("ctrl+a");
    click(main, kEditX, kTitleY);
    EXPECT_TRUE(Eventually([&] { return windowCount() == 2; }));
    // In the tree this key exports.
    key("Return");
    EXPECT_EQ(windowCount(), 2);
    key("Escape");
    EXPECT_TRUE(Eventually([&] { return windowCount() == 1; }));
    EXPECT_FALSE(Eventually([&] { return windowCount() > 1; }, std::chrono::seconds(1)));
    // Keys are the window's again.
    key("Return");
    const std::string panel = window(kPanel);
    awaitDrawn(panel);
    focus(panel);
    key("Escape");
    EXPECT_TRUE(Eventually([&] { return isGone(kPanel); }));
    closeAndExpectNotice(main, host);
}

TEST_F(UserMenuTest, APanelThatAMenusCommandPutsUpTakesItsOwnKeys)
{
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = drawnWindow();
    focus(main);
    key("ctrl+a");
    click(main, kApplicationX, kTitleY);
    EXPECT_TRUE(Eventually([&] { return windowCount() == 2; }));
    // The second command, below About and a line.
    click(main, kApplicationX, 68);
    chooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return sameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    closeAndExpectNotice(main, host);
}

TEST_F(UserMenuTest, AKeyTakesTheToolTipAway)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = drawnWindow();
    focus(main);
    run("xdotool mousemove --window " + main + " 700 558 sleep 0.3 mousemove --window " + main +
        " 820 558 sleep 0.1 mousemove --window " + main + " 821 558");
    EXPECT_TRUE(Eventually([&] { return windowCount() == 2; }));
    key("Home");
    EXPECT_TRUE(Eventually([&] { return windowCount() == 1; }));
    closeAndExpectNotice(main, host);
}

TEST_F(UserMenuTest, TheDesktopKeepsAPanelAndItsWindowTogether)
{
    startWindowManager();
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = window("File Explorer");
    const std::string panel = askForPanel(main, 58);
    run("xdotool windowminimize --sync " + panel);
    EXPECT_TRUE(Eventually([&] { return isGone("File Explorer"); }));
    EXPECT_TRUE(isGone(kPanel));
    run("xdotool windowmap --sync " + main);
    awaitDrawn(window(kPanel));
    activate(panel);
    key("Escape");
    EXPECT_TRUE(Eventually([&] { return isGone(kPanel); }));
    activate(main);
    key("alt+F4");
    expectNotice(host);
}

TEST_F(UserMenuTest, TheDesktopIsToldWhichWindowAMessageBelongsTo)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = drawnWindow();
    focus(main);
    click(main, kApplicationX, kTitleY);
    EXPECT_TRUE(Eventually([&] { return windowCount() == 2; }));
    click(main, kApplicationX, 40);
    const std::string message = window("Information");
    const std::string owner = run("xprop -id " + message + " WM_TRANSIENT_FOR");
    const size_t number = owner.find("0x");
    ASSERT_NE(number, std::string::npos) << owner;
    EXPECT_EQ(strtol(&owner[number], nullptr, 16), atol(main.c_str()));
    focus(message);
    key("Return");
    EXPECT_TRUE(Eventually([&] { return isGone("Information"); }));
    closeAndExpectNotice(main, host);
}

TEST_F(UserMenuTest, TheDisplayIsNotToldTheSecret)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path(), "none", "hush-hush"});
    const std::string main = drawnWindow();
    const std::string told = run("for id in $(xwininfo -root -tree | grep -o '0x[0-9a-f]*'); do "
                                 "xprop -id $id; done");
    EXPECT_NE(told.find("File Explorer"), std::string::npos);
    EXPECT_NE(told.find("WM_COMMAND"), std::string::npos);
    EXPECT_EQ(told.find("hush-hush"), std::string::npos);
    closeAndExpectNotice(main, host);
}

}  // namespace
