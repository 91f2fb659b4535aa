#import "HostAppDelegate.h"

#import "DamageWindow.h"
#import "DropView.h"
#include "HostTexts.h"
#include "LineText.h"
#include "OpeningReason.h"
#include "ThreadChecks.h"

#include <climits>
#include <unistd.h>

struct HostAppState {
    vx::HostServices services;
    std::unique_ptr<vx::UnlockSession> session;
    bool wasRefused = false;
    std::string lost;  // the disk of the running session, if it has gone
    bool isTerminating = false;
};

namespace {

vx::HostServices (*servicesMaker)() = nullptr;

// Of the command line, or opened before there is a window; empty: none.
std::string givenImage;

std::string AbsolutePath(const std::string &path)
{
    char folder[PATH_MAX];
    if (path.front() == '/' || getcwd(folder, sizeof(folder)) == nullptr)
        return path;
    return std::string(folder) + "/" + path;
}

NSString *TakenText(const vx::SessionEnd &end)
{
    if (end.isHeld && !end.owner.empty())
        return vx::Localized("The explorer is running for the user {1}. It has to be quit there.",
                             {end.owner});
    if (end.isHeld)
        return vx::Localized(@"The explorer is running already. Quit it first.");
    if (!end.owner.empty())
        return vx::Localized("A file of the user {1} is in the way of the explorer.", {end.owner});
    return vx::Localized(@"The connection to the explorer could not be made.");
}

// nil: as it should, and the user knows it.
NSString *EndText(const vx::SessionEnd &end)
{
    switch (end.kind) {
    case vx::SessionEndKind::kQuit:
    case vx::SessionEndKind::kRefused:
        return nil;
    case vx::SessionEndKind::kInterrupted:
        return vx::Localized(@"Cancelled.");
    case vx::SessionEndKind::kLinkTaken:
        return TakenText(end);
    case vx::SessionEndKind::kNotStarted:
        return vx::Localized(@"The explorer could not be started.");
    case vx::SessionEndKind::kNoNotice:
    case vx::SessionEndKind::kEndedByHost:
        break;
    }
    return vx::Localized(@"The explorer ended unexpectedly.");
}

}  // namespace

@implementation HostAppDelegate

@synthesize window = _window;
@synthesize sourceList = _sourceList;
@synthesize volumePane = _volumePane;
@synthesize openButton = _openButton;
@synthesize damageWindow = _damageWindow;

+ (void)setServicesMaker:(vx::HostServices (*)())makeServices
{
    servicesMaker = makeServices;
}

+ (void)setImage:(const std::string &)path
{
    givenImage = path;
}

- (id)init
{
    self = [super init];
    if (self != nil)
        _state = new HostAppState;
    return self;
}

- (void)dealloc
{
    AssertMainThread();
    [_window release];
    [_sourceList release];
    [_volumePane release];
    [_openButton release];
    [_damageWindow release];
    delete _state;
    [super dealloc];
}

- (void)applicationDidFinishLaunching:(NSNotification *)notification
{
    AssertMainThread();
    if (servicesMaker == nullptr)
        return;
    [self beginWith:servicesMaker()];
    [self openBytes:givenImage];
}

- (void)beginWith:(vx::HostServices &&)services
{
    AssertMainThread();
    _state->services = std::move(services);
    _state->session = std::make_unique<vx::UnlockSession>(_state->services.sessions.get(), self);
    [[self content] setTarget:self action:@selector(openDropped:)];
    [_sourceList setDelegate:self];
    [_volumePane setDelegate:self];
    [_volumePane begin:&_state->services];
    [_sourceList begin:_state->services.disks.get()];
    [NSApp activateIgnoringOtherApps:YES];
    [_window makeKeyAndOrderFront:self];
}

- (DropView *)content
{
    return (DropView *)[_window contentView];
}

// A session: the trial, or the explorer.
- (BOOL)isRunning
{
    return _state->session != nullptr && _state->session->IsRunning();
}

- (void)end
{
    AssertMainThread();
    [_sourceList end];
    [_volumePane end];
}

// Choosing

- (BOOL)application:(NSApplication *)application openFile:(NSString *)path
{
    AssertMainThread();
    // Some systems send it before the application has launched.
    if (_state->session == nullptr)
        givenImage = vx::BytesOf(path);
    else
        [self openPath:path];
    return YES;
}

- (void)openPath:(NSString *)path
{
    AssertMainThread();
    [self openBytes:vx::BytesOf(path)];
}

- (void)openDropped:(NSArray *)paths
{
    AssertMainThread();
    if ([paths count] == 1)
        [self openBytes:vx::PathOf([paths objectAtIndex:0])];
    else
        [_volumePane say:vx::Localized(@"Several files were dropped. Drop one image only.")
                  detail:""];
}

- (void)openBytes:(const std::string &)path
{
    if (!path.empty() && ![self isRunning])
        [_sourceList choosePath:AbsolutePath(path)];
}

- (IBAction)openImage:(id)sender
{
    AssertMainThread();
    NSOpenPanel *panel = [NSOpenPanel openPanel];
    [panel setCanChooseFiles:YES];
    [panel setCanChooseDirectories:NO];
    [panel setAllowsMultipleSelection:NO];
    [panel beginSheetModalForWindow:_window
                  completionHandler:^(NSInteger result) {
                      if (result == NSFileHandlingPanelOKButton)
                          [self openPath:[[panel URL] path]];
                  }];
}

- (void)sourceList:(SourceList *)list didChoose:(const std::string &)path
{
    AssertMainThread();
    if ([self isRunning])
        return;
    if (path.empty())
        [_volumePane showNothing:@""];
    else
        [_volumePane showPath:path];
}

- (void)sourceList:(SourceList *)list didLose:(const std::string &)path
{
    AssertMainThread();
    // A session notices by itself.
    _state->lost = path;
    if (![self isRunning])
        [self showLost];
}

- (void)showLost
{
    [_volumePane showNothing:vx::Localized("{1} was removed.", {vx::LineText(_state->lost)})];
}

// Unlocking

- (void)volumePane:(VolumePane *)pane
            unlock:(const std::string &)address
              kind:(const std::string &)kind
            secret:(vx::TypedSecret *)secret
{
    AssertMainThread();
    _state->wasRefused = false;
    _state->lost.clear();
    [self setChoosing:NO];
    [_volumePane showTrial];
    _state->session->Start(address, kind, secret);
}

- (void)setChoosing:(BOOL)canChoose
{
    [_sourceList.tableView setEnabled:canChoose];
    [_openButton setEnabled:canChoose];
    [[self content] setClosed:!canChoose];
}

- (void)volumePaneDidCancel:(VolumePane *)pane
{
    AssertMainThread();
    _state->session->Cancel();
}

- (void)sessionHasProgress:(const vx::ChannelProgress &)progress
{
    [_volumePane showProgress:progress];
}

- (void)sessionWasRefused:(const vx::TrialResult &)result
{
    AssertMainThread();
    _state->wasRefused = true;
    [_volumePane showRefusal:result];
}

- (void)sessionHasOpened
{
    [_sourceList rememberChosen];
}

- (void)sessionHasStarted
{
    AssertMainThread();
    [_volumePane.fields empty];
    [_damageWindow close];
    [_window orderOut:self];
}

- (void)sessionHasEnded:(const vx::SessionEnd &)end
{
    AssertMainThread();
    if (_state->isTerminating) {
        [self printDamage];
        return [NSApp replyToApplicationShouldTerminate:YES];
    }
    [self setChoosing:YES];
    [self showWindows];
    [_volumePane showEnd:_state->wasRefused ? nil : EndText(end) detail:end.text];
    const std::string &whyNotTried = _state->session->WhyNotTried();
    if (!whyNotTried.empty())
        [_volumePane
               add:vx::Localized(@"The volume could not be tried before the explorer opened it.")
            detail:whyNotTried];
    if (!_state->lost.empty())
        [self showLost];
}

// The list has the keyboard if there is one: of two windows that ask for it the desktop chooses.
- (void)showWindows
{
    if (_state->session->Damage().IsEmpty())
        return [_window makeKeyAndOrderFront:self];
    [self showDamage];
    [_window orderWindow:NSWindowBelow relativeTo:[[_damageWindow window] windowNumber]];
}

// There is no window any more that could show it.
- (void)printDamage
{
    const vx::DamageList &damage = _state->session->Damage();
    if (!damage.IsEmpty())
        fputs(vx::DamageFile(damage, _state->session->Volume(), vx::UserWording()).c_str(), stderr);
}

- (void)showDamage
{
    if (_damageWindow == nil)
        _damageWindow = [[DamageWindow alloc] init];
    [_damageWindow showList:_state->session->Damage() ofVolume:_state->session->Volume()];
}

// The application

- (IBAction)showHelp:(id)sender
{
    AssertMainThread();
    NSAlert *help = [[[NSAlert alloc] init] autorelease];
    [help setMessageText:vx::Localized(@"How to open an encrypted volume")];
    [help setInformativeText:vx::Localized(@"HELP_TEXT")];
    [help addButtonWithTitle:vx::Localized(@"OK")];
    [help runModal];
}

- (BOOL)validateMenuItem:(NSMenuItem *)item
{
    return [item action] != @selector(openImage:) || ![self isRunning];
}

// The window is hidden while the explorer runs.
- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication *)application
{
    return ![self isRunning];
}

- (BOOL)applicationShouldHandleReopen:(NSApplication *)application hasVisibleWindows:(BOOL)visible
{
    return ![self isRunning];
}

// A session is cancelled, and its end awaited: it leaves nothing behind.
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication *)application
{
    AssertMainThread();
    if (![self isRunning])
        return NSTerminateNow;
    _state->isTerminating = true;
    _state->session->Cancel();
    return NSTerminateLater;
}

- (void)applicationWillTerminate:(NSNotification *)notification
{
    [self end];
}

@end
