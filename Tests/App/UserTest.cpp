// The program as a user meets it: started by volume-host on a real folder, used with mouse and
// keys on a display of its own. On the link's own paths, so one test at a time.
#include "ChildProcess.h"
#include "Eventually.h"
#include "TemporaryFolder.h"
#include "VirtualDisplay.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr char kNotice[] = "volume-host: the explorer sent its quit notice\n";

// The output of a command of the desktop's tools.
std::string run(const std::string &command)
{
    std::string output;
    FILE *pipe = popen((command + " 2>/dev/null").c_str(), "r");
    std::array<char, 256> part;
    while (pipe != nullptr && fgets(part.data(), part.size(), pipe) != nullptr)
        output += part.data();
    if (pipe != nullptr)
        pclose(pipe);
    return output;
}

class UserTest : public testing::Test {
protected:
    void SetUp() override
    {
        _display = vxtest::VirtualDisplay::start();
        ASSERT_NE(_display, nullptr);
        setenv("HOME", _home.Path().c_str(), 1);
        setenv("LANG", "en_US.UTF-8", 1);
        setenv("LANGUAGE", "en", 1);
        // The destination is opened with this; a desktop has its own.
        const std::string opener = _home.WriteFile("bin/xdg-open", "#!/bin/sh\necho \"$1\" > '" +
                                                                       _home.At("opened") + "'\n");
        chmod(opener.c_str(), 0755);
        setenv("PATH", (_home.At("bin") + ":" + getenv("PATH")).c_str(), 1);
        ASSERT_FALSE(fs::exists("/tmp/z5_btl_3")) << "an explorer is running";
    }

    // The id of the visible window of that title, once there is one.
    std::string window(const std::string &title)
    {
        std::string id;
        EXPECT_TRUE(Eventually([&] {
            id = run("xdotool search --onlyvisible --name '^" + title + "$' | tail -1");
            return !id.empty();
        })) << title;
        return id.substr(0, id.find('\n'));
    }
    bool isGone(const std::string &title)
    {
        return run("xdotool search --onlyvisible --name '^" + title + "$'").empty();
    }
    // A mouse is slow: the library tracks it in a loop of its own.
    void click(const std::string &id, int x, int y, const std::string &held = "")
    {
        const std::string at = std::to_string(x) + " " + std::to_string(y);
        const std::string down = held.empty() ? "" : "keydown " + held + " ";
        const std::string up = held.empty() ? "" : " keyup " + held;
        run("xdotool mousemove --window " + id + " " + at + " sleep 0.3 " + down +
            "mousedown 1 sleep 0.2 mouseup 1 sleep 0.3" + up);
    }
    void key(const std::string &name) { run("xdotool sleep 0.3 key --delay 60 " + name); }
    void type(const std::string &text) { run("xdotool sleep 0.3 type --delay 25 '" + text + "'"); }

    // Waits until the pixels of the window stand still, that is until it has drawn itself.
    void awaitDrawn(const std::string &id)
    {
        std::string last;
        EXPECT_TRUE(Eventually([&] {
            usleep(200000);
            const std::string now = run("xwd -silent -id " + id + " | md5sum");
            const bool same = now == last && now.find("d41d8cd9") == std::string::npos;
            last = now;
            return same;
        }));
    }

    void chooseFolder(const std::string &path)
    {
        const std::string panel = window("Open");
        awaitDrawn(panel);
        focus(panel);
        click(panel, 250, 450);
        type(path);
        // The only row of the folder above, and the confirming button.
        click(panel, 30, 104);
        click(panel, 335, 480);
    }
    // What a window manager does.
    void focus(const std::string &id) { run("xdotool windowfocus " + id); }

    // The host says so last; ahead of it the window library may grumble about the display.
    static bool noticeArrived(const ChildProcess &host)
    {
        const std::string output = host.Output(), notice = kNotice;
        return output.size() >= notice.size() &&
               output.compare(output.size() - notice.size(), notice.size(), notice) == 0;
    }

    bool sameTree(const std::string &from, const std::string &to)
    {
        return run("diff -r '" + from + "' '" + to + "' && echo same") == "same\n";
    }

    std::unique_ptr<vxtest::VirtualDisplay> _display;
    vx::TemporaryFolder _home;
    vx::TemporaryFolder _volume;
    vx::TemporaryFolder _destination;
    const std::string destination = _destination.MakeFolder("only/out");
};

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
