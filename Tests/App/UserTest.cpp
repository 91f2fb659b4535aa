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
    const std::string main = drawnWindow();
    // Three rows of 20 points below the menu and the header.
    click(main, 100, 58);
    click(main, 100, 98, "shift");
    click(main, 820, 558);
    chooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return sameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return fs::exists(_home.At("opened")); }));
    EXPECT_EQ(_home.ReadFile("opened"), destination + "\n");
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    closeAndExpectNotice(main, host);
    EXPECT_FALSE(fs::exists("/tmp/z5_btl_3"));
    EXPECT_FALSE(fs::exists("/tmp/z5_btl_4"));
}

TEST_F(UserTest, OpensAFolderByItsTriangleAndExportsTheFileInsideWithTheKeyboard)
{
    _volume.WriteFile("Reports/summary.txt", "summary");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = drawnWindow();
    click(main, 9, 60);
    click(main, 100, 78);
    focus(main);
    key("ctrl+e");
    chooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return sameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    focus(main);
    key("ctrl+q");
    expectNotice(host);
}

TEST_F(UserTest, SelectsAllAndExportsWithReturn)
{
    for (const char *name : {"a.txt", "b.txt", "Reports/c.txt"})
        _volume.WriteFile(name, name);
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = drawnWindow();
    focus(main);
    key("ctrl+a");
    key("Return");
    chooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return sameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    closeAndExpectNotice(main, host);
}

TEST_F(UserTest, EveryPanelTakesTheTypedPathInPlaceOfTheFolderItShows)
{
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = drawnWindow();
    focus(main);
    key("ctrl+a");
    for (const char *name : {"first", "second", "third"}) {
        const std::string folder = _destination.MakeFolder(name);
        key("Return");
        chooseFolder(folder);
        EXPECT_TRUE(Eventually([&] { return sameTree(_volume.Path(), folder); })) << name;
        EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
        focus(main);
    }
    key("ctrl+w");
    expectNotice(host);
}

TEST_F(UserTest, OpensAFolderWithTheArrowsAndExportsTheRowBelowIt)
{
    _volume.WriteFile("Reports/one.txt", "1");
    _volume.WriteFile("Reports/two.txt", "2");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = drawnWindow();
    click(main, 100, 58);
    focus(main);
    key("Right");
    key("Down");
    key("Return");
    chooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    EXPECT_TRUE(Eventually([&] { return fs::exists(destination + "/Reports"); }));
    const auto files = fs::directory_iterator(destination + "/Reports");
    EXPECT_EQ(std::distance(fs::begin(files), fs::end(files)), 1) << "one row, not the folder";
    closeAndExpectNotice(main, host);
}

TEST_F(UserTest, TheNewWindowHasTheKeyboardUnderAWindowManager)
{
    startWindowManager();
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = drawnWindow();
    EXPECT_TRUE(Eventually([&] { return run("xdotool getactivewindow") == main + "\n"; }));
    // No click and no activation: the keys go to the tree.
    key("ctrl+a");
    key("Return");
    chooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return sameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    key("alt+F4");
    expectNotice(host);
}

TEST_F(UserTest, ThePanelLiesOverItsWindowEveryTimeAndKeepsItsSize)
{
    startWindowManager();
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = drawnWindow();
    // Off the middle of the screen, where panels go by themselves.
    run("xdotool windowmove --sync " + main + " 60 40");
    const auto middle = [](const std::string &id) {
        return geometry(id, "X=") + geometry(id, "WIDTH=") / 2;
    };
    activate(main);
    key("ctrl+a");
    int heights[2];
    for (int &height : heights) {
        key("Return");
        const std::string panel = window(kPanel);
        awaitDrawn(panel);
        EXPECT_NEAR(middle(panel), middle(main), 3);
        height = geometry(panel, "HEIGHT=");
        key("Escape");
        EXPECT_TRUE(Eventually([&] { return isGone(kPanel); }));
        activate(main);
    }
    EXPECT_LE(heights[0], 500) << "the decorations are a part of the 500 points";
    EXPECT_GE(heights[0], 450);
    EXPECT_EQ(heights[1], heights[0]);
    key("alt+F4");
    expectNotice(host);
}

TEST_F(UserTest, AMinimisedWindowLeavesNothingOnTheScreenAndComesBackAsItWas)
{
    startWindowManager();
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = drawnWindow();
    // Of the whole program. The search breaks off when some other window goes while it looks.
    const auto shown = [] {
        std::string found;
        EXPECT_TRUE(Eventually([&] {
            found = run("{ xdotool search --onlyvisible --classname FileExplorer 2>&1; }");
            return found.find("X Error") == std::string::npos;
        }));
        return found;
    };
    ASSERT_EQ(shown(), main + "\n");
    const std::string place = run("xdotool getwindowgeometry " + main);
    activate(main);
    key("ctrl+m");
    EXPECT_TRUE(Eventually([&] { return isGone("File Explorer"); }));
    EXPECT_TRUE(Eventually([&] { return shown().empty(); })) << shown();
    run("xdotool windowmap --sync " + main);
    activate(main);
    awaitDrawn(main);
    EXPECT_EQ(shown(), main + "\n");
    EXPECT_EQ(run("xdotool getwindowgeometry " + main), place);
    // And it takes the keyboard again.
    key("ctrl+a");
    key("Return");
    chooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return sameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    key("alt+F4");
    expectNotice(host);
}

// What the window was at its start decides: a start in which it was a tool for a moment let it lie
// over its panel for good, now and then.
TEST_F(UserTest, ThePanelIsInFrontOfItsWindowAfterEachOfFiveStarts)
{
    startWindowManager();
    _volume.WriteFile("a.txt", "a");
    for (int start = 0; start < 5; ++start) {
        ChildProcess host(VOLUME_HOST, {_volume.Path()});
        const std::string main = window("File Explorer");
        const std::string panel = askForPanel(main, 58);
        EXPECT_TRUE(Eventually([&] { return frontWindow() == atoi(panel.c_str()); }))
            << "start " << start << ": " << frontWindow() << " is in front of " << panel;
        EXPECT_NE(run("xprop -id " + main + " _NET_WM_WINDOW_TYPE").find("TYPE_NORMAL"),
                  std::string::npos);
        key("Escape");
        EXPECT_TRUE(Eventually([&] { return isGone(kPanel); }));
        activate(main);
        key("alt+F4");
        ASSERT_EQ(host.AwaitEnd(), 0);
    }
}

// A process reads what it needs to know of the mouse once.
TEST_F(UserTest, AShortFirstClickOnExportAsksForTheFolderAfterEachOfFiveStarts)
{
    _volume.WriteFile("a.txt", "a");
    for (int start = 0; start < 5; ++start) {
        ChildProcess host(VOLUME_HOST, {_volume.Path()});
        const std::string main = drawnWindow();
        focus(main);
        key("ctrl+a");
        // No time between press and release: the library finds both at once.
        run("xdotool sleep 0.3 mousemove --window " + main + " 820 558 mousedown 1 mouseup 1");
        const std::string panel = window(kPanel);
        ASSERT_NE(panel, "") << "start " << start;
        awaitDrawn(panel);
        focus(panel);
        key("Escape");
        EXPECT_TRUE(Eventually([&] { return isGone(kPanel); }));
        focus(main);
        key("ctrl+w");
        ASSERT_EQ(host.AwaitEnd(), 0);
    }
}

TEST_F(UserTest, WithFourArgumentsAndNoHostListeningTheExplorerStillShowsItsWindow)
{
    _volume.WriteFile("a.txt", "a");
    ChildProcess explorer(PROGRAMS "/FileExplorer.app/FileExplorer",
                          {_volume.Path(), "none", "", "fourth"});
    const std::string main = drawnWindow();
    focus(main);
    key("ctrl+w");
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
    const std::string main = drawnWindow();
    focus(main);
    key("ctrl+a");
    key("Return");
    chooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return sameTree(volume, destination); }));
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    closeAndExpectNotice(main, host);
}

TEST_F(UserTest, AVolumeThatDoesNotOpenStillShowsTheWindowAndClosingItSendsTheNotice)
{
    ChildProcess host(VOLUME_HOST, {_volume.At("missing")});
    const std::string main = drawnWindow();
    closeAndExpectNotice(main, host);
}

}  // namespace
