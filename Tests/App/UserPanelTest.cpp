// The panel in which a folder is chosen, with the mouse.
#include "Eventually.h"
#include "UserFixture.h"

#include <cstdlib>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

// Rows of the places, from the top: home, desktop, documents.
constexpr int kPlacesX = 70, kDesktopY = 115, kNewFolderX = 50, kNewFolderBottom = 20;

class UserPanelTest : public UserTest {
protected:
    std::string Panel(const std::string &main) { return AskForPanel(main, 58); }
};

TEST_F(UserPanelTest, AFolderIsMadeInAPlaceAndGetsTheFiles)
{
    _volume.WriteFile("a.txt", "a");
    const std::string desktop = _home.MakeFolder("Desktop");
    setenv("XDG_CONFIG_HOME", _home.At("no settings").c_str(), 1);
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    const std::string panel = Panel(main);
    Click(panel, kPlacesX, kDesktopY);
    ClickAbove(panel, kNewFolderX, kNewFolderBottom);
    const std::string question = Window("New Folder");
    AwaitDrawn(question);
    Focus(question);
    Type("Rescued");
    Key("Return");
    EXPECT_TRUE(Eventually([&] { return fs::exists(desktop + "/Rescued"); }));
    EXPECT_TRUE(Eventually([&] { return IsGone("New Folder"); }));
    Focus(panel);
    Key("Return");
    EXPECT_TRUE(Eventually([&] { return SameTree(_volume.Path(), desktop + "/Rescued"); }));
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserPanelTest, ThePanelAsksTheDesktopForNoMinimiseButton)
{
    _volume.WriteFile("a.txt", "a");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    // Motif's hints: flags, functions, decorations; a function and a decoration of their own stand
    // for the button.
    const auto minimises = [](const std::string &id) {
        constexpr long kMinimise = 1 << 3;
        const std::string hints = Run("xprop -id " + id + " _MOTIF_WM_HINTS | cut -d = -f 2");
        char *end = nullptr;
        const long flags = strtol(hints.c_str(), &end, 0);
        EXPECT_EQ(flags & 3, 3) << hints;
        const long functions = strtol(end + 1, &end, 0);
        return (functions & kMinimise) != 0;
    };
    EXPECT_TRUE(minimises(main));
    const std::string panel = Panel(main);
    EXPECT_FALSE(minimises(panel));
    Focus(panel);
    Key("Escape");
    EXPECT_TRUE(Eventually([&] { return IsGone(kPanel); }));
    CloseAndExpectNotice(main, host);
}

}  // namespace
