#include "UserFixture.h"

#include "Eventually.h"
#include "PrivateSettings.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr char kNotice[] = "volume-host: the explorer sent its quit notice\n";

}  // namespace

std::string UserTest::Run(const std::string &command)
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

void UserTest::SetUp()
{
    _display = vxtest::VirtualDisplay::Start();
    ASSERT_NE(_display, nullptr);
    vxtest::LiveIn(_home.Path());
    setenv("LANG", "en_US.UTF-8", 1);
    setenv("LANGUAGE", "en", 1);
    // The destination is opened with this; a desktop has its own.
    const std::string opener =
        _home.WriteFile("bin/xdg-open", "#!/bin/sh\necho \"$1\" > '" + _home.At("opened") + "'\n");
    chmod(opener.c_str(), 0755);
    setenv("PATH", (_home.At("bin") + ":" + getenv("PATH")).c_str(), 1);
    ASSERT_FALSE(fs::exists("/tmp/z5_btl_3")) << "an explorer is running";
}

// A host that was killed cleans nothing up, and the next test would take its FIFOs for a running
// explorer's. The explorer itself goes with its display.
void UserTest::TearDown()
{
    if (!HasFailure())
        return;
    fs::remove("/tmp/z5_btl_3");
    fs::remove("/tmp/z5_btl_4");
}

std::string UserTest::Window(const std::string &title)
{
    std::string id;
    EXPECT_TRUE(Eventually([&] {
        id = Run("xdotool search --onlyvisible --name '^" + title + "$' | tail -1");
        return !id.empty();
    })) << title;
    return id.substr(0, id.find('\n'));
}

bool UserTest::IsGone(const std::string &title)
{
    // The search breaks off when some other window goes while it looks.
    std::string found;
    EXPECT_TRUE(Eventually([&] {
        found = Run("{ xdotool search --onlyvisible --name '^" + title + "$' 2>&1; }");
        return found.find("X Error") == std::string::npos;
    }));
    return found.empty();
}

std::string UserTest::DrawnWindow()
{
    std::string main = Window("File Explorer");
    AwaitDrawn(main);
    return main;
}

void UserTest::AwaitDrawn(const std::string &id)
{
    std::string last;
    EXPECT_TRUE(Eventually([&] {
        // Whether it stands still shows only after a moment.
        usleep(200000);
        // A window manager may still be moving it.
        const std::string now =
            Run("xwd -silent -id " + id + " | md5sum") + Run("xdotool getwindowgeometry " + id);
        const bool same = now == last && now.find("d41d8cd9") == std::string::npos;
        last = now;
        return same;
    }));
}

void UserTest::StartWindowManager()
{
    _manager = std::make_unique<ChildProcess>("/usr/bin/openbox",
                                              std::vector<std::string>{"--sm-disable"});
    EXPECT_TRUE(Eventually([] {
        return Run("xprop -root _NET_SUPPORTING_WM_CHECK").find("0x") != std::string::npos;
    }));
}

void UserTest::Activate(const std::string &id)
{
    Run("timeout 20 xdotool windowactivate --sync " + id);
}

int UserTest::FrontWindow()
{
    const std::string stacked = Run("xprop -root _NET_CLIENT_LIST_STACKING");
    const size_t last = stacked.rfind("0x");
    return last == std::string::npos ? 0 : static_cast<int>(strtol(&stacked[last], nullptr, 16));
}

int UserTest::Geometry(const std::string &id, const std::string &name)
{
    const std::string line = Run("xdotool getwindowgeometry --shell " + id + " | grep ^" + name);
    EXPECT_EQ(line.find(name), 0u) << line;
    return atoi(line.c_str() + std::min(name.size(), line.size()));
}

void UserTest::ClickCloseButton(const std::string &id)
{
    // Ten points in from the right end of the bar above the window.
    Click(id, Geometry(id, "WIDTH=") - 10, -10);
}

void UserTest::Click(const std::string &id, int x, int y, const std::string &held)
{
    const std::string at = std::to_string(x) + " " + std::to_string(y);
    const std::string down = held.empty() ? "" : "keydown " + held + " ";
    const std::string up = held.empty() ? "" : " keyup " + held;
    Run("xdotool mousemove --window " + id + " " + at + " sleep 0.3 " + down +
        "mousedown 1 sleep 0.05 mouseup 1 sleep 0.3" + up);
}

void UserTest::ClickAbove(const std::string &id, int x, int bottom)
{
    Click(id, x, Geometry(id, "HEIGHT=") - bottom);
}

std::string UserTest::AskForPanel(const std::string &main, int y)
{
    AwaitDrawn(main);
    if (_manager != nullptr)
        Activate(main);
    else
        Focus(main);
    Click(main, 100, y);
    Key("ctrl+e");
    std::string panel = Window(kPanel);
    AwaitDrawn(panel);
    return panel;
}

void UserTest::ChooseFolder(const std::string &path)
{
    const std::string panel = Window(kPanel);
    AwaitDrawn(panel);
    if (_manager == nullptr)
        Focus(panel);
    // The keyboard is with the name field. The panel is the one of the last time; what is typed
    // takes the place of what it shows.
    Type(path);
    Key("Return");
    EXPECT_TRUE(Eventually([&] { return IsGone(kPanel); }));
}

std::string UserTest::Install(const std::string &library)
{
    const std::string programs = _home.MakeFolder("programs");
    Run("cp -r '" PROGRAMS "/FileExplorer.app' '" PROGRAMS "/volume-host' '" PROGRAMS
        "/volume-trial' '" +
        programs + "'");
    if (!library.empty())
        Run("cp '" + library + "' '" + programs + "/libBitLockerWapper.dylib'");
    return programs + "/volume-host";
}

// The host says so last, and the explorer says nothing.
void UserTest::ExpectNotice(ChildProcess &host, int status)
{
    EXPECT_EQ(host.AwaitEnd(), status);
    EXPECT_THAT(host.Output(), testing::EndsWith(kNotice));
    EXPECT_THAT(host.Output(), testing::Not(testing::HasSubstr("FileExplorer[")));
}

void UserTest::CloseAndExpectNotice(const std::string &main, ChildProcess &host, int status)
{
    if (_manager != nullptr) {
        Activate(main);
        Key("alt+F4");
    } else {
        Focus(main);
        Key("ctrl+w");
    }
    ExpectNotice(host, status);
}

bool UserTest::SameTree(const std::string &from, const std::string &to)
{
    return Run("diff -r '" + from + "' '" + to + "' && echo same") == "same\n";
}
