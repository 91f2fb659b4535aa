#include "HostWindow.h"

#include "HostTexts.h"

#include <cstdlib>

namespace {

void RunTool(const std::string &command)
{
    EXPECT_EQ(system(command.c_str()), 0) << command;
}

// From the upper left corner of the screen, as X counts.
NSPoint PlaceOf(NSView *view)
{
    const NSRect bounds = [view bounds];
    NSPoint place = [view convertPoint:NSMakePoint(NSMidX(bounds), NSMidY(bounds)) toView:nil];
    place = [[view window] convertBaseToScreen:place];
    return NSMakePoint(place.x, NSHeight([[NSScreen mainScreen] frame]) - place.y);
}

}  // namespace

HostWindowTest::HostWindowTest(Services services)
{
    [[NSUserDefaults standardUserDefaults] removeObjectForKey:@"RecentImages"];
    EXPECT_TRUE([NSBundle loadNibNamed:@"VolumeHost" owner:NSApp]);
    delegate = [(HostAppDelegate *)[NSApp delegate] retain];
    if (services == Services::kNone)
        return;
    auto madeDisks = std::make_unique<vxtest::StandInDisks>();
    auto madeFacts = std::make_unique<vxtest::StandInFacts>();
    auto madeSessions = std::make_unique<vxtest::StandInSessions>();
    auto madeRights = std::make_unique<vxtest::StandInRights>();
    disks = madeDisks.get();
    facts = madeFacts.get();
    sessions = madeSessions.get();
    rights = madeRights.get();
    [delegate beginWith:{std::move(madeDisks), std::move(madeFacts), std::move(madeSessions),
                         std::move(madeRights)}];
}

HostWindowTest::~HostWindowTest()
{
    [delegate end];
    // A thread that is not joined when the process ends is a leak.
    EXPECT_TRUE(
        RunUntil([this] { return ![[delegate sourceList] isListing] && ![Pane() isReading]; }));
    // Closing the last window would end the process.
    [NSApp setDelegate:nil];
    [[[delegate damageWindow] window] close];
    [Window() close];
    [delegate release];
}

bool HostWindowTest::RunUntil(const std::function<bool()> &condition)
{
    constexpr NSTimeInterval kPatience = 20, kStep = 0.02;
    NSDate *deadline = [NSDate dateWithTimeIntervalSinceNow:kPatience];
    while (!condition()) {
        if ([deadline timeIntervalSinceNow] < 0)
            return false;
        NSAutoreleasePool *pool = [NSAutoreleasePool new];
        NSEvent *event = [NSApp nextEventMatchingMask:NSAnyEventMask
                                            untilDate:[NSDate dateWithTimeIntervalSinceNow:kStep]
                                               inMode:NSDefaultRunLoopMode
                                              dequeue:YES];
        if (event != nil)
            [NSApp sendEvent:event];
        [pool release];
    }
    return true;
}

void HostWindowTest::Choose(const std::string &path, const vx::DiskFacts &found)
{
    facts->Set(path, found);
    [delegate openPath:vx::TextOf(path)];
    EXPECT_TRUE(RunUntil([this] { return [[Pane() progressBar] isHidden]; }));
}

void HostWindowTest::Choose(const std::string &path, const vx::VolumeFacts &volume)
{
    vx::DiskFacts found;
    found.volumes = {volume};
    Choose(path, found);
}

void HostWindowTest::ChooseKind(NSInteger index)
{
    [[Pane() kindPopUp] selectItemAtIndex:index];
    [Pane() chooseKind:nil];
}

// As a window manager does; the server maps a window some time after it was asked to.
void HostWindowTest::Focus()
{
    EXPECT_TRUE(RunUntil([] {
        return system("id=$(xdotool search --onlyvisible --name '^Volume Host$' | tail -1)"
                      " && test -n \"$id\" && xdotool windowfocus $id"
                      " && test $(xdotool getwindowfocus) = $id") == 0;
    }));
    EXPECT_TRUE(RunUntil([this] { return [Window() isKeyWindow]; }));
}

void HostWindowTest::Click(NSView *view)
{
    Focus();
    const NSPoint place = PlaceOf(view);
    RunTool("xdotool mousemove " + std::to_string(static_cast<int>(place.x)) + " " +
            std::to_string(static_cast<int>(place.y)) + " click 1");
}

void HostWindowTest::Type(const std::string &text)
{
    Focus();
    RunTool("xdotool type --delay 5 '" + text + "'");
}

void HostWindowTest::Key(const std::string &name)
{
    RunTool("xdotool key --delay 5 " + name);
}

NSInteger HostWindowTest::RowNamed(const std::string &name)
{
    NSInteger found = -1;
    EXPECT_TRUE(RunUntil([&] {
        for (NSInteger row = 0; row < [List() numberOfRows]; ++row) {
            NSString *text = [(id)[delegate sourceList] tableView:List()
                                        objectValueForTableColumn:nil
                                                              row:row];
            if (vx::BytesOf(text) == name)
                found = row;
        }
        return found >= 0;
    })) << name;
    return found;
}

std::string HostWindowTest::Message()
{
    return Text([Pane() messageLabel]);
}

std::string HostWindowTest::Details()
{
    return Text([Pane() detailLabel]);
}

std::string HostWindowTest::Text(NSControl *control)
{
    NSText *editor = [control currentEditor];
    return vx::BytesOf(editor == nil ? [control stringValue] : [editor string]);
}

void HostWindowTest::Refuse(int32_t status, const std::string &reason)
{
    vx::TrialResult result;
    result.status = status;
    result.reason = reason;
    sessions->listener->OnTried(result);
    End(vx::SessionEndKind::kRefused);
}

void HostWindowTest::Start()
{
    vx::TrialResult result;
    result.opened = true;
    sessions->listener->OnTried(result);
    sessions->listener->OnStarted();
}

void HostWindowTest::End(vx::SessionEndKind kind)
{
    vx::SessionEnd end;
    end.kind = kind;
    sessions->listener->OnEnded(end);
}
