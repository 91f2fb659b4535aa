// The ways through the program that everybody takes, on a real folder.
#include "Eventually.h"
#include "UserFixture.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

TEST_F(UserTest, SelectsFilesWithMouseAndShiftExportsThemAndClosesTheWindow)
{
    for (const char *name : {"a.txt", "b.txt", "c.txt"})
        _volume.WriteFile(name, std::string(100000, name[0]));
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = window("File Explorer");
    awaitDrawn(main);
    // Three rows of 20 points below the menu and the header.
    click(main, 100, 58);
    click(main, 100, 98, "shift");
    click(main, 820, 558);
    chooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return sameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return fs::exists(_home.At("opened")); }));
    EXPECT_EQ(_home.ReadFile("opened"), destination + "\n");
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    focus(main);
    key("ctrl+w");
    EXPECT_EQ(host.AwaitEnd(), 0);
    EXPECT_TRUE(noticeArrived(host)) << host.Output();
    EXPECT_FALSE(fs::exists("/tmp/z5_btl_3"));
    EXPECT_FALSE(fs::exists("/tmp/z5_btl_4"));
}

TEST_F(UserTest, OpensAFolderByItsTriangleAndExportsTheFileInsideWithTheKeyboard)
{
    _volume.WriteFile("Reports/summary.txt", "summary");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = window("File Explorer");
    awaitDrawn(main);
    click(main, 9, 60);
    click(main, 100, 78);
    focus(main);
    key("ctrl+e");
    chooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return sameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    focus(main);
    key("ctrl+q");
    EXPECT_EQ(host.AwaitEnd(), 0);
    EXPECT_TRUE(noticeArrived(host)) << host.Output();
}

TEST_F(UserTest, AVolumeThatDoesNotOpenStillShowsTheWindowAndClosingItSendsTheNotice)
{
    ChildProcess host(VOLUME_HOST, {_volume.At("missing")});
    const std::string main = window("File Explorer");
    awaitDrawn(main);
    focus(main);
    key("ctrl+w");
    EXPECT_EQ(host.AwaitEnd(), 0);
    EXPECT_TRUE(noticeArrived(host)) << host.Output();
}

}  // namespace
