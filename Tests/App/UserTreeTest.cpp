// What mouse and keys do to the rows of the tree.
#include "Eventually.h"
#include "UserFixture.h"

#include <algorithm>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

// The middle of a row, and of a folder's triangle at the top level.
constexpr int kFirstRowY = 58, kRowHeight = 20, kNameX = 100, kTriangleX = 9;

class UserTreeTest : public UserTest {
protected:
    // At the pace of a hand.
    static void ClickTwice(const std::string &id, int x, int y)
    {
        Run("xdotool mousemove --window " + id + " " + std::to_string(x) + " " + std::to_string(y) +
            " sleep 0.3 mousedown 1 sleep 0.05 mouseup 1 sleep 0.08 mousedown 1 sleep 0.05 mouseup 1 "
            "sleep 0.3");
    }
    static void RightClick(const std::string &id, int x, int y)
    {
        Run("xdotool mousemove --window " + id + " " + std::to_string(x) + " " + std::to_string(y) +
            " sleep 0.3 mousedown 3 sleep 0.05 mouseup 3 sleep 0.3");
    }
    static long WindowCount()
    {
        const std::string ids = Run("xdotool search --onlyvisible --classname FileExplorer");
        return std::count(ids.begin(), ids.end(), '\n');
    }
    // What another program finds on the clipboard.
    static std::string Clipboard() { return Run("xclip -out -selection clipboard"); }
    // What the tree's selection holds, by its export.
    void ExpectSelected(const std::string &main, const std::string &path)
    {
        Focus(main);
        Key("Return");
        ChooseFolder(destination);
        EXPECT_TRUE(Eventually([&] { return fs::exists(destination + "/" + path); })) << path;
        EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
        const auto all = fs::recursive_directory_iterator(destination);
        for (const fs::directory_entry &entry : all)
            EXPECT_TRUE(entry.is_directory() || entry.path() == destination + "/" + path)
                << entry.path();
    }
};

TEST_F(UserTreeTest, TheKeyForMenusShowsTheMenuOfTheSelectedRow)
{
    _volume.WriteFile("alpha.txt", "a");
    _volume.WriteFile("gamma.txt", "g");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    Run("xdotool mousemove --window " + main + " 600 500");
    Key("Menu");
    EXPECT_FALSE(Eventually([] { return WindowCount() != 1; }, std::chrono::seconds(1)));
    const char *const tries[][2] = {{"Menu", "gamma.txt"}, {"shift+F10", "alpha.txt"}};
    for (const auto &[key, name] : tries) {
        Type(name);
        Key(key);
        EXPECT_TRUE(Eventually([] { return WindowCount() == 2; })) << key;
        // Far from the pointer.
        const std::string menu =
            Run("xdotool search --onlyvisible --classname FileExplorer | grep -vx " + main);
        EXPECT_LT(Geometry(menu.substr(0, menu.find('\n')), "X="), Geometry(main, "X=") + 100);
        Key("Escape");
        EXPECT_TRUE(Eventually([] { return WindowCount() == 1; })) << key;
        Key(key);
        EXPECT_TRUE(Eventually([] { return WindowCount() == 2; })) << key;
        // From Export… to Copy Name: what is off between them is passed over.
        Key("Down");
        Key("Down");
        Key("Return");
        EXPECT_TRUE(Eventually([&, text = name] { return Clipboard() == text; })) << Clipboard();
        EXPECT_TRUE(Eventually([] { return WindowCount() == 1; }));
        // A new name begins.
        sleep(2);
    }
    CloseAndExpectNotice(main, host);
}

TEST_F(UserTreeTest, TypedLettersSelectTheRowThatBeginsWithThem)
{
    for (const char *name : {"alpha.txt", "beta.txt", "Brown.txt", "bravo.txt"})
        _volume.WriteFile(name, name);
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    Type("alp");
    // A pause begins a new name.
    Run("sleep 1.2");
    Type("bro");
    ExpectSelected(main, "Brown.txt");
    CloseAndExpectNotice(main, host);
}

TEST_F(UserTreeTest, ADoubleClickOnAFoldersRowOpensItAndTheNextClosesIt)
{
    _volume.WriteFile("Reports/summary.txt", "summary");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    ClickTwice(main, kNameX, kFirstRowY);
    ClickTwice(main, kNameX, kFirstRowY);
    ClickTwice(main, kNameX, kFirstRowY);
    // Of a row that a closed folder would not have.
    Click(main, kNameX, kFirstRowY + kRowHeight);
    ExpectSelected(main, "Reports/summary.txt");
    CloseAndExpectNotice(main, host);
}

TEST_F(UserTreeTest, TwoClicksOnTheTriangleOpenAndCloseTheFolderOnce)
{
    _volume.WriteFile("Reports/summary.txt", "summary");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    const std::string picture = "xwd -silent -id " + main + " | md5sum";
    Run("xdotool mousemove --window " + main + " 300 300 sleep 0.3");
    AwaitDrawn(main);
    const std::string closed = Run(picture);
    ClickTwice(main, kTriangleX, kFirstRowY + 2);
    Run("xdotool mousemove --window " + main + " 300 300 sleep 0.3");
    AwaitDrawn(main);
    EXPECT_EQ(Run(picture), closed);
    Click(main, kTriangleX, kFirstRowY + 2);
    Run("xdotool mousemove --window " + main + " 300 300 sleep 0.3");
    AwaitDrawn(main);
    EXPECT_NE(Run(picture), closed);
    CloseAndExpectNotice(main, host);
}

TEST_F(UserTreeTest, TheMenuOfTheRowUnderThePointerStaysOpenAndExportsTheRow)
{
    _volume.WriteFile("only.txt", "only");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    RightClick(main, kNameX, kFirstRowY);
    EXPECT_TRUE(Eventually([] { return WindowCount() == 2; }));
    // Its first command.
    Click(main, kNameX + 30, kFirstRowY + 14);
    ChooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return SameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserTreeTest, EscapeClosesTheMenuOfARowAndNoOtherKeyReachesTheTree)
{
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    RightClick(main, kNameX, kFirstRowY);
    EXPECT_TRUE(Eventually([] { return WindowCount() == 2; }));
    // In the tree this key exports.
    Key("Return");
    EXPECT_FALSE(Eventually([] { return WindowCount() != 2; }, std::chrono::seconds(1)));
    // Over a command, which is not carried out.
    Run("xdotool mousemove --window " + main + " 130 72 sleep 0.3");
    Key("Escape");
    EXPECT_TRUE(Eventually([] { return WindowCount() == 1; }));
    EXPECT_FALSE(Eventually([] { return WindowCount() > 1; }, std::chrono::seconds(1)));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserTreeTest, AnotherProgramPastesTheNamesThatWereCopied)
{
    _volume.WriteFile("S\u00fcd 1.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    Key("ctrl+a");
    Key("ctrl+c");
    EXPECT_TRUE(Eventually([] { return Clipboard() == "S\u00fcd 1.txt"; })) << Clipboard();
    CloseAndExpectNotice(main, host);
}

}  // namespace
