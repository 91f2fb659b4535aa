#include "LiveHost.h"

#import "DamageWindow.h"
#include "HostTexts.h"
#include "SystemServices.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr const char *kLinkPaths[] = {"/tmp/z5_btl_3", "/tmp/z5_btl_4"};

NSPoint PlaceOf(NSView *view)
{
    const NSRect bounds = [view bounds];
    NSPoint place = [view convertPoint:NSMakePoint(NSMidX(bounds), NSMidY(bounds)) toView:nil];
    place = [[view window] convertBaseToScreen:place];
    return NSMakePoint(place.x, NSHeight([[NSScreen mainScreen] frame]) - place.y);
}

std::string PlaceText(NSPoint place)
{
    return std::to_string(static_cast<int>(place.x)) + " " +
           std::to_string(static_cast<int>(place.y));
}

}  // namespace

LiveHostTest::LiveHostTest() : HostWindowTest(Services::kNone)
{
    programs.explorer = VX_EXPLORER_PROGRAM;
    programs.trial = VX_TRIAL_PROGRAM;
    programs.info = VX_INFO_PROGRAM;
}

void LiveHostTest::SetUp()
{
    for (const char *path : kLinkPaths)
        ASSERT_FALSE(fs::exists(path)) << "an explorer is running";
    // The destination of an export is opened with this; a desktop has its own.
    folder.WriteFile("bin/xdg-open", "#!/bin/sh\n");
    fs::permissions(folder.At("bin/xdg-open"), fs::perms(0755));
    manager = std::make_unique<ChildProcess>("/usr/bin/openbox",
                                             std::vector<std::string>{"--sm-disable"});
    EXPECT_TRUE(RunUntil([] {
        return Run("xprop -root _NET_SUPPORTING_WM_CHECK").find("0x") != std::string::npos;
    }));
    setenv("PATH", (folder.At("bin") + ":" + getenv("PATH")).c_str(), 1);
}

// What a failed test leaves behind would be taken for a running explorer's by the next.
void LiveHostTest::TearDown()
{
    if (!HasFailure())
        return;
    for (const char *path : kLinkPaths)
        fs::remove(path);
}

// The window manager may have given the window another place or size that the application has yet
// to hear of; until then a click misses.
bool LiveHostTest::HasFrameAtServer(const std::string &id)
{
    const NSRect frame = [Window() frame];
    std::ostringstream height, lowerLeft;
    height << "Height: " << static_cast<int>(NSHeight(frame)) << "\n";
    lowerLeft << "+" << static_cast<int>(NSMinX(frame)) << "-" << static_cast<int>(NSMinY(frame))
              << "\n";
    const std::string seen = Run("xwininfo -id " + id);
    return seen.find(height.str()) != std::string::npos &&
           seen.find(lowerLeft.str()) != std::string::npos;
}

void LiveHostTest::Focus()
{
    EXPECT_TRUE(RunUntil([this] {
        const std::string id = IdOf("Volume Host");
        const std::string command = "xdotool windowactivate " + id + " sleep 0.1 getactivewindow";
        return !id.empty() && [Window() isKeyWindow] && Run(command) == id + "\n" &&
               HasFrameAtServer(id);
    }));
}

void LiveHostTest::Begin()
{
    [delegate beginWith:vx::SystemServicesWith(programs)];
}

std::string LiveHostTest::Run(const std::string &command)
{
    std::string output;
    FILE *pipe = popen((command + " 2>/dev/null").c_str(), "r");
    std::array<char, 4096> part;
    for (size_t got = 1; pipe != nullptr && got > 0;) {
        got = fread(part.data(), 1, part.size(), pipe);
        output.append(part.data(), got);
    }
    if (pipe != nullptr)
        pclose(pipe);
    return output;
}

void LiveHostTest::MakeImages()
{
    Run(VX_MKFS_FAT_PROGRAM " -C " + plainImage + " 4096");
    Run("MTOOLS_SKIP_CHECK=1 " VX_MCOPY_PROGRAM " -s -i " + plainImage + " " + volume.Path() +
        "/* ::");
    Run(VX_MAKE_VOLUME " " + plainImage + " " + image + " --password " + kPassword +
        " --recovery " + kRecoveryKey + " --startup-key " + startupKey);
    ASSERT_TRUE(fs::exists(image)) << "dosfstools or mtools is missing";
}

void LiveHostTest::OpenImage(const std::string &path)
{
    [delegate openPath:vx::TextOf(path)];
    EXPECT_TRUE(RunUntil([this] { return [[Pane() progressBar] isHidden]; }));
}

void LiveHostTest::Unlock(const std::string &secret)
{
    Type(secret);
    EXPECT_TRUE(RunUntil([this] { return CanUnlock(); }));
    Key("Return");
}

void LiveHostTest::WaitingTrial()
{
    const std::string script = folder.WriteFile(
        "waiting-trial", "#!/bin/sh\n: > '" + folder.At("held") + "'\nuntil [ -e '" +
                             folder.At("go") + "' ]; do sleep 0.05; done\nexec '" + programs.trial +
                             "' \"$@\"\n");
    fs::permissions(script, fs::perms(0755));
    programs.trial = script;
}

bool LiveHostTest::IsHeld() const
{
    return fs::exists(folder.At("held"));
}

void LiveHostTest::Drag(NSView *view, CGFloat down)
{
    Focus();
    NSPoint place = PlaceOf(view);
    const std::string from = PlaceText(place);
    place.y += down;
    Run("(xdotool mousemove " + from + " sleep 0.2 mousedown 1 sleep 0.3 mousemove " +
        PlaceText(place) + " sleep 0.3 mouseup 1) >/dev/null 2>&1 &");
}

void LiveHostTest::TypeIntoPanel(const std::string &title, const std::string &path)
{
    Run("(until id=$(xdotool search --onlyvisible --name '^" + title +
        "$'); do sleep 0.1; done; xdotool windowactivate $id sleep 0.4 type --delay 15 '" + path +
        "'; xdotool sleep 0.3 key Return) >/dev/null 2>&1 &");
}

std::string LiveHostTest::IdOf(const std::string &title)
{
    const std::string ids = Run("xdotool search --onlyvisible --name '^" + title + "$' | tail -1");
    return ids.substr(0, ids.find('\n'));
}

std::string LiveHostTest::AwaitExplorer()
{
    std::string id;
    EXPECT_TRUE(RunUntil([&] { return ![Window() isVisible]; })) << Message();
    EXPECT_TRUE(RunUntil([&] {
        id = IdOf("File Explorer");
        return !id.empty();
    }));
    return id;
}

void LiveHostTest::CloseExplorer(const std::string &id)
{
    Run("xdotool windowactivate " + id + " sleep 0.4 key --delay 60 ctrl+w");
}

void LiveHostTest::AwaitWindow()
{
    EXPECT_TRUE(RunUntil([this] { return [Window() isVisible]; }));
    for (const char *path : kLinkPaths)
        EXPECT_FALSE(fs::exists(path)) << path;
    EXPECT_EQ(ProcessesOf("volume-trial"), "");
    EXPECT_EQ(ProcessesOf("FileExplorer"), "");
}

void LiveHostTest::CloseList()
{
    NSWindow *list = [[delegate damageWindow] window];
    const std::string title = vx::BytesOf([list title]) + "\n";
    ASSERT_TRUE(RunUntil([&] { return Run("xdotool getactivewindow getwindowname") == title; }));
    Key("Return");
    ASSERT_TRUE(RunUntil([list] { return ![list isVisible]; }));
}

// Children of this process, which adopts nobody's.
std::string LiveHostTest::ProcessesOf(const std::string &program) const
{
    return Run("pgrep -P " + std::to_string(getpid()) + " -f '/" + program + "( |$)'");
}
