// The ways through the program that everybody takes, on a real folder.
#include "Eventually.h"
#include "UserFixture.h"

#include <cstdlib>
#include <filesystem>
#include <iterator>

namespace {

namespace fs = std::filesystem;

TEST_F(UserTest, SelectsFilesWithMouseAndShiftExportsThemAndClosesTheWindow)
{
    for (const char *name : {"a.txt", "b.txt", "c.txt"})
        _volume.WriteFile(name, std::string(100000, name[0]));
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    // Three rows of 20 points below the menu and the header.
    Click(main, 100, 58);
    Click(main, 100, 98, "shift");
    Click(main, 820, 558);
    ChooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return SameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return fs::exists(_home.At("opened")); }));
    EXPECT_EQ(_home.ReadFile("opened"), destination + "\n");
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    CloseAndExpectNotice(main, host);
    EXPECT_FALSE(fs::exists("/tmp/z5_btl_3"));
    EXPECT_FALSE(fs::exists("/tmp/z5_btl_4"));
}

TEST_F(UserTest, OpensAFolderByItsTriangleAndExportsTheFileInsideWithTheKeyboard)
{
    _volume.WriteFile("Reports/summary.txt", "summary");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Click(main, 9, 60);
    Click(main, 100, 78);
    Focus(main);
    Key("ctrl+e");
    ChooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return SameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    Focus(main);
    Key("ctrl+q");
    ExpectNotice(host);
}

TEST_F(UserTest, SelectsAllAndExportsWithReturn)
{
    for (const char *name : {"a.txt", "b.txt", "Reports/c.txt"})
        _volume.WriteFile(name, name);
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    Key("ctrl+a");
    Key("Return");
    ChooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return SameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserTest, EveryPanelTakesTheTypedPathInPlaceOfTheFolderItShows)
{
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    Key("ctrl+a");
    for (const char *name : {"first", "second", "third"}) {
        const std::string folder = _destination.MakeFolder(name);
        Key("Return");
        ChooseFolder(folder);
        EXPECT_TRUE(Eventually([&] { return SameTree(_volume.Path(), folder); })) << name;
        EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
        Focus(main);
    }
    Key("ctrl+w");
    ExpectNotice(host);
}

TEST_F(UserTest, OpensAFolderWithTheArrowsAndExportsTheRowBelowIt)
{
    _volume.WriteFile("Reports/one.txt", "1");
    _volume.WriteFile("Reports/two.txt", "2");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Click(main, 100, 58);
    Focus(main);
    Key("Right");
    Key("Down");
    Key("Return");
    ChooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    EXPECT_TRUE(Eventually([&] { return fs::exists(destination + "/Reports"); }));
    const auto files = fs::directory_iterator(destination + "/Reports");
    EXPECT_EQ(std::distance(fs::begin(files), fs::end(files)), 1) << "one row, not the folder";
    CloseAndExpectNotice(main, host);
}

TEST_F(UserTest, TheNewWindowHasTheKeyboardUnderAWindowManager)
{
    StartWindowManager();
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    EXPECT_TRUE(Eventually([&] { return Run("xdotool getactivewindow") == main + "\n"; }));
    // No click and no activation: the keys go to the tree.
    Key("ctrl+a");
    Key("Return");
    ChooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return SameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    Key("alt+F4");
    ExpectNotice(host);
}

TEST_F(UserTest, ThePanelLiesOverItsWindowEveryTimeAndKeepsItsSize)
{
    StartWindowManager();
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    // Off the middle of the screen, where panels go by themselves.
    Run("xdotool windowmove --sync " + main + " 60 40");
    const auto middle = [](const std::string &id) {
        return Geometry(id, "X=") + Geometry(id, "WIDTH=") / 2;
    };
    Activate(main);
    Key("ctrl+a");
    int heights[2];
    for (int &height : heights) {
        Key("Return");
        const std::string panel = Window(kPanel);
        AwaitDrawn(panel);
        EXPECT_NEAR(middle(panel), middle(main), 3);
        height = Geometry(panel, "HEIGHT=");
        Key("Escape");
        EXPECT_TRUE(Eventually([&] { return IsGone(kPanel); }));
        Activate(main);
    }
    EXPECT_LE(heights[0], 500) << "the decorations are a part of the 500 points";
    EXPECT_GE(heights[0], 450);
    EXPECT_EQ(heights[1], heights[0]);
    Key("alt+F4");
    ExpectNotice(host);
}

TEST_F(UserTest, AMinimisedWindowLeavesNothingOnTheScreenAndComesBackAsItWas)
{
    StartWindowManager();
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    // Of the whole program. The search breaks off when some other window goes while it looks.
    const auto shown = [] {
        std::string found;
        EXPECT_TRUE(Eventually([&] {
            found = Run("{ xdotool search --onlyvisible --classname FileExplorer 2>&1; }");
            return found.find("X Error") == std::string::npos;
        }));
        return found;
    };
    ASSERT_EQ(shown(), main + "\n");
    const std::string place = Run("xdotool getwindowgeometry " + main);
    Activate(main);
    Key("ctrl+m");
    EXPECT_TRUE(Eventually([&] { return IsGone("File Explorer"); }));
    EXPECT_TRUE(Eventually([&] { return shown().empty(); })) << shown();
    Run("xdotool windowmap --sync " + main);
    Activate(main);
    AwaitDrawn(main);
    EXPECT_EQ(shown(), main + "\n");
    EXPECT_EQ(Run("xdotool getwindowgeometry " + main), place);
    // And it takes the keyboard again.
    Key("ctrl+a");
    Key("Return");
    ChooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return SameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    Key("alt+F4");
    ExpectNotice(host);
}

// What the window was at its start decides: a start in which it was a tool for a moment let it lie
// over its panel for good, now and then.
TEST_F(UserTest, ThePanelIsInFrontOfItsWindowAfterEachOfFiveStarts)
{
    StartWindowManager();
    _volume.WriteFile("a.txt", "a");
    for (int start = 0; start < 5; ++start) {
        ChildProcess host(VOLUME_HOST, {_volume.Path()});
        const std::string main = Window("File Explorer");
        const std::string panel = AskForPanel(main, 58);
        EXPECT_TRUE(Eventually([&] { return FrontWindow() == atoi(panel.c_str()); }))
            << "start " << start << ": " << FrontWindow() << " is in front of " << panel;
        EXPECT_NE(Run("xprop -id " + main + " _NET_WM_WINDOW_TYPE").find("TYPE_NORMAL"),
                  std::string::npos);
        Key("Escape");
        EXPECT_TRUE(Eventually([&] { return IsGone(kPanel); }));
        Activate(main);
        Key("alt+F4");
        ASSERT_EQ(host.AwaitEnd(), 0);
    }
}

// A process reads what it needs to know of the mouse once.
TEST_F(UserTest, AShortFirstClickOnExportAsksForTheFolderAfterEachOfFiveStarts)
{
    _volume.WriteFile("a.txt", "a");
    for (int start = 0; start < 5; ++start) {
        ChildProcess host(VOLUME_HOST, {_volume.Path()});
        const std::string main = DrawnWindow();
        Focus(main);
        Key("ctrl+a");
        // No time between press and release: the library finds both at once.
        Run("xdotool sleep 0.3 mousemove --window " + main + " 820 558 mousedown 1 mouseup 1");
        const std::string panel = Window(kPanel);
        ASSERT_NE(panel, "") << "start " << start;
        AwaitDrawn(panel);
        Focus(panel);
        Key("Escape");
        EXPECT_TRUE(Eventually([&] { return IsGone(kPanel); }));
        Focus(main);
        Key("ctrl+w");
        ASSERT_EQ(host.AwaitEnd(), 0);
    }
}

TEST_F(UserTest, WithFourArgumentsAndNoHostListeningTheExplorerStillShowsItsWindow)
{
    _volume.WriteFile("a.txt", "a");
    ChildProcess explorer(PROGRAMS "/FileExplorer.app/FileExplorer",
                          {_volume.Path(), "none", "", "fourth"});
    const std::string main = DrawnWindow();
    Focus(main);
    Key("ctrl+w");
    EXPECT_EQ(explorer.AwaitEnd(), 0);
    // A host removes them, and there is none.
    EXPECT_TRUE(fs::remove("/tmp/z5_btl_3"));
    EXPECT_TRUE(fs::remove("/tmp/z5_btl_4"));
}

TEST_F(UserTest, AVolumeWhosePathIsNotAsciiOpensInEveryLocale)
{
    const std::string volume = _volume.MakeFolder("Bücher 日本");
    _volume.WriteFile("Bücher 日本/Süd.txt", "contents");
    setenv("LANG", "C", 1);
    ChildProcess host(VOLUME_HOST, {volume});
    const std::string main = DrawnWindow();
    Focus(main);
    Key("ctrl+a");
    Key("Return");
    ChooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return SameTree(volume, destination); }));
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserTest, AVolumeThatDoesNotOpenStillShowsTheWindowAndClosingItSendsTheNotice)
{
    ChildProcess host(VOLUME_HOST, {_volume.At("missing")});
    const std::string main = DrawnWindow();
    CloseAndExpectNotice(main, host, kStayedShut);
}

}  // namespace
