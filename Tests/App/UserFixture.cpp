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

std::string UserTest::run(const std::string &command)
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

std::string UserTest::window(const std::string &title)
{
    std::string id;
    EXPECT_TRUE(Eventually([&] {
        id = run("xdotool search --onlyvisible --name '^" + title + "$' | tail -1");
        return !id.empty();
    })) << title;
    return id.substr(0, id.find('\n'));
}

bool UserTest::isGone(const std::string &title)
{
    // The search breaks off when some other window goes while it looks.
    std::string found;
    EXPECT_TRUE(Eventually([&] {
        found = run("{ xdotool search --onlyvisible --name '^" + title + "$' 2>&1; }");
        return found.find("X Error") == std::string::npos;
    }));
    return found.empty();
}

std::string UserTest::drawnWindow()
{
    std::string main = window("File Explorer");
    awaitDrawn(main);
    return main;
}

void UserTest::awaitDrawn(const std::string &id)
{
    std::string last;
    EXPECT_TRUE(Eventually([&] {
        // Whether it stands still shows only after a moment.
        usleep(200000);
        // A window manager may still be moving it.
        const std::string now =
            run("xwd -silent -id " + id + " | md5sum") + run("xdotool getwindowgeometry " + id);
        const bool same = now == last && now.find("d41d8cd9") == std::string::npos;
        last = now;
        return same;
    }));
}

void UserTest::startWindowManager()
{
    _manager = std::make_unique<ChildProcess>("/usr/bin/openbox",
                                              std::vector<std::string>{"--sm-disable"});
    EXPECT_TRUE(Eventually([] {
        return run("xprop -root _NET_SUPPORTING_WM_CHECK").find("0x") != std::string::npos;
    }));
}

void UserTest::activate(const std::string &id)
{
    run("timeout 20 xdotool windowactivate --sync " + id);
}

int UserTest::frontWindow()
{
    const std::string stacked = run("xprop -root _NET_CLIENT_LIST_STACKING");
    const size_t last = stacked.rfind("0x");
    return last == std::string::npos ? 0 : static_cast<int>(strtol(&stacked[last], nullptr, 16));
}

int UserTest::geometry(const std::string &id, const std::string &name)
{
    const std::string line = run("xdotool getwindowgeometry --shell " + id + " | grep ^" + name);
    EXPECT_EQ(line.find(name), 0u) << line;
    return atoi(line.c_str() + std::min(name.size(), line.size()));
}

void UserTest::clickCloseButton(const std::string &id)
{
    // Ten points in from the right end of the bar above the window.
    click(id, geometry(id, "WIDTH=") - 10, -10);
}

void UserTest::click(const std::string &id, int x, int y, const std::string &held)
{
    const std::string at = std::to_string(x) + " " + std::to_string(y);
    const std::string down = held.empty() ? "" : "keydown " + held + " ";
    const std::string up = held.empty() ? "" : " keyup " + held;
    run("xdotool mousemove --window " + id + " " + at + " sleep 0.3 " + down +
        "mousedown 1 sleep 0.05 mouseup 1 sleep 0.3" + up);
}

void UserTest::clickAbove(const std::string &id, int x, int bottom)
{
    click(id, x, geometry(id, "HEIGHT=") - bottom);
}

std::string UserTest::askForPanel(const std::string &main, int y)
{
    awaitDrawn(main);
    if (_manager != nullptr)
        activate(main);
    else
        focus(main);
    click(main, 100, y);
    key("ctrl+e");
    std::string panel = window(kPanel);
    awaitDrawn(panel);
    return panel;
}

void UserTest::chooseFolder(const std::string &path)
{
    const std::string panel = window(kPanel);
    awaitDrawn(panel);
    if (_manager == nullptr)
        focus(panel);
    // The keyboard is with the name field. The panel is the one of the last time; what is typed
    // takes the place of what it shows.
    type(path);
    key("Return");
    EXPECT_TRUE(Eventually([&] { return isGone(kPanel); }));
}

std::string UserTest::install(const std::string &library)
{
    const std::string programs = _home.MakeFolder("programs");
    run("cp -r '" PROGRAMS "/FileExplorer.app' '" PROGRAMS "/volume-host' '" + programs + "'");
    if (!library.empty())
        run("cp '" + library + "' '" + programs + "/libBitLockerWapper.dylib'");
    return programs + "/volume-host";
}

// The host says so last, and the explorer says nothing.
void UserTest::expectNotice(ChildProcess &host)
{
    EXPECT_EQ(host.AwaitEnd(), 0);
    EXPECT_THAT(host.Output(), testing::EndsWith(kNotice));
    EXPECT_THAT(host.Output(), testing::Not(testing::HasSubstr("FileExplorer[")));
}

void UserTest::closeAndExpectNotice(const std::string &main, ChildProcess &host)
{
    if (_manager != nullptr) {
        activate(main);
        key("alt+F4");
    } else {
        focus(main);
        key("ctrl+w");
    }
    expectNotice(host);
}

bool UserTest::sameTree(const std::string &from, const std::string &to)
{
    return run("diff -r '" + from + "' '" + to + "' && echo same") == "same\n";
}
