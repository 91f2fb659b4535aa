// Volume Host as a user meets it: the program as it is installed, with mouse and keys, a real
// volume and the real explorer. On the link's own paths, so one test at a time.
#include "Eventually.h"
#include "UserFixture.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

namespace fs = std::filesystem;
using ::testing::ContainsRegex;

// In no path and no other program's arguments.
constexpr char kPassword[] = "Quasi7nonexhaustive";

class HostUserTest : public UserTest {
protected:
    void SetUp() override
    {
        UserTest::SetUp();
        _volume.WriteFile("Reports/summary.txt", std::string(100000, 's'));
        image = _home.At("disk.img");
        const std::string plain = _home.At("plain.img");
        Run(MKFS_FAT " -C '" + plain + "' 40000");
        Run(MCOPY " -s -i '" + plain + "' '" + _volume.At("Reports") + "' ::");
        Run(MAKE_VOLUME " '" + plain + "' '" + image + "' --password " + kPassword);
        ASSERT_TRUE(fs::exists(image));
    }

    // The window, once it can be typed into.
    std::string HostWindow()
    {
        const std::string id = Window("Volume Host");
        Focus(id);
        AwaitDrawn(id);
        return id;
    }

    static std::string Contents(const fs::path &path)
    {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    // Those whose arguments or environment have the password. The tool that typed it has ended.
    static std::string PlacesOfThePassword()
    {
        std::string found;
        for (const auto &process : fs::directory_iterator("/proc")) {
            for (const char *name : {"cmdline", "environ"}) {
                if (Contents(process.path() / name).find(kPassword) != std::string::npos)
                    found += (process.path() / name).string() + "\n";
            }
        }
        return found;
    }

    // Below /proc.
    fs::path FolderOfHost() const
    {
        for (const auto &process : fs::directory_iterator("/proc")) {
            const std::string arguments = Contents(process.path() / "cmdline");
            if (arguments == HOST_WINDOW + std::string(1, '\0') + image + '\0')
                return process.path();
        }
        ADD_FAILURE() << "no " << HOST_WINDOW;
        return "/";
    }

    // Of this test: its arguments name the test's image.
    void KillExplorer()
    {
        int killed = 0;
        for (const auto &process : fs::directory_iterator("/proc")) {
            const std::string arguments = Contents(process.path() / "cmdline");
            if (arguments.find("FileExplorer.app/") == std::string::npos ||
                arguments.find(image) == std::string::npos)
                continue;
            kill(atoi(process.path().filename().c_str()), SIGKILL);
            ++killed;
        }
        EXPECT_EQ(killed, 1);
    }

    std::string image;
};

TEST_F(HostUserTest, AnImageIsOpenedWithAPasswordTypedIntoTheWindowAndAFolderExported)
{
    ChildProcess host(HOST_WINDOW, {image});
    HostWindow();
    Type("wrong");
    Key("Return");
    const std::string window = HostWindow();
    EXPECT_TRUE(IsGone("File Explorer"));
    // What was wrong is selected: it is typed over.
    Type(kPassword);
    Key("Return");
    const std::string explorer = DrawnWindow();
    EXPECT_TRUE(IsGone("Volume Host"));
    EXPECT_EQ(PlacesOfThePassword(), "");
    EXPECT_THAT(Contents(FolderOfHost() / "limits"), ContainsRegex("Max core file size +0 +0 "));
    EXPECT_EQ(Run("xprop -root; xprop -id " + explorer).find(kPassword), std::string::npos);
    Focus(explorer);
    Key("ctrl+a");
    Key("Return");
    ChooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return SameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    Focus(explorer);
    Key("ctrl+w");
    HostWindow();
    EXPECT_TRUE(IsGone("File Explorer"));
    EXPECT_FALSE(fs::exists("/tmp/z5_btl_3"));
    Key("ctrl+q");
    EXPECT_EQ(host.AwaitEnd(), 0);
}

// As an older system named it, from a folder that the environment names.
TEST_F(HostUserTest, AnImageWhosePathIsNotUtf8IsOpened)
{
    const std::string folder = _home.MakeFolder("old\xe9");
    fs::rename(image, folder + "/d\xe9.img");
    ChildProcess host("/usr/bin/env", {"-C", folder, "PWD=" + folder, HOST_WINDOW, "d\xe9.img"});
    HostWindow();
    Type(kPassword);
    Key("Return");
    Focus(DrawnWindow());
    Key("ctrl+w");
    HostWindow();
    Key("ctrl+q");
    EXPECT_EQ(host.AwaitEnd(), 0);
}

TEST_F(HostUserTest, AnImageWhoseFirstSectorIsLostIsOpenedWithItsPassword)
{
    Run("dd if=/dev/zero of='" + image + "' bs=512 count=1 conv=notrunc status=none");
    ChildProcess host(HOST_WINDOW, {image});
    HostWindow();
    Type(kPassword);
    Key("Return");
    Focus(DrawnWindow());
    Key("ctrl+w");
    HostWindow();
    Key("ctrl+q");
    EXPECT_EQ(host.AwaitEnd(), 0);
}

TEST_F(HostUserTest, NothingOfThePasswordIsInTheSettings)
{
    ChildProcess host(HOST_WINDOW, {image});
    HostWindow();
    Type(kPassword);
    Key("Return");
    const std::string explorer = DrawnWindow();
    Focus(explorer);
    Key("ctrl+w");
    HostWindow();
    Key("ctrl+q");
    EXPECT_EQ(host.AwaitEnd(), 0);
    EXPECT_NE(Run("grep -r -l disk.img '" + _home.At("Defaults") + "'"), "");
    EXPECT_EQ(
        Run("grep -r -l " + std::string(kPassword) + " '" + _home.Path() + "' --exclude=*.img"),
        "");
}

TEST_F(HostUserTest, AnExplorerThatIsKilledBringsTheWindowBackAndLeavesNothingBehind)
{
    ChildProcess host(HOST_WINDOW, {image});
    HostWindow();
    Type(kPassword);
    Key("Return");
    DrawnWindow();
    KillExplorer();
    HostWindow();
    EXPECT_FALSE(fs::exists("/tmp/z5_btl_3"));
    Key("ctrl+q");
    EXPECT_EQ(host.AwaitEnd(), 0);
}

TEST_F(HostUserTest, ATerminatedHostEndsItsExplorerAndLeavesNothingBehind)
{
    ChildProcess host(HOST_WINDOW, {image});
    HostWindow();
    Type(kPassword);
    Key("Return");
    DrawnWindow();
    host.Signal(SIGTERM);
    EXPECT_EQ(host.AwaitEnd(), 0);
    EXPECT_TRUE(Eventually([&] { return IsGone("File Explorer"); }));
    EXPECT_FALSE(fs::exists("/tmp/z5_btl_3"));
    EXPECT_FALSE(fs::exists("/tmp/z5_btl_4"));
}

// The program itself moves the keyboard to its panel and back.
TEST_F(HostUserTest, WithoutAWindowManagerTheKeyboardAloneLeadsFromTheStartToTheExplorer)
{
    ChildProcess host(HOST_WINDOW, {});
    const std::string window = HostWindow();
    Key("ctrl+o");
    AwaitDrawn(Window("Open"));
    Type(image);
    Key("Return");
    EXPECT_TRUE(Eventually([&] { return IsGone("Open"); }));
    EXPECT_TRUE(Eventually([&] { return Run("xdotool getwindowfocus") == window + "\n"; }));
    AwaitDrawn(window);
    Type(kPassword);
    Key("Return");
    Focus(DrawnWindow());
    Key("ctrl+w");
    HostWindow();
    Key("ctrl+q");
    EXPECT_EQ(host.AwaitEnd(), 0);
}

TEST_F(HostUserTest, TheCloseButtonOfTheWindowManagerEndsTheProgram)
{
    StartWindowManager();
    ChildProcess host(HOST_WINDOW, {});
    const std::string window = Window("Volume Host");
    AwaitDrawn(window);
    ClickCloseButton(window);
    EXPECT_EQ(host.AwaitEnd(), 0);
}

}  // namespace
