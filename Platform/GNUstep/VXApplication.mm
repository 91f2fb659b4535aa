#import "VXApplication.h"

#import <GNUstepGUI/GSDisplayServer.h>

#include "FileDrops.h"
#include "FolderOpening.h"
#include "ImageResources.h"
#include "LostRelease.h"
#include "MenuKey.h"
#include "MenuTracking.h"
#include "PacedDisplay.h"
#include "RegisteredDefaults.h"
#include "StartMessages.h"
#include "SubstituteFonts.h"
#include "SupplementaryGlyphs.h"
#import "TextScale.h"
#include "ThreadChecks.h"
#include "TypeSelection.h"
#include "WindowClosing.h"
#include "WorkspaceNotices.h"

#include <cstdlib>

@interface NSApplication (LibraryOwn)
- (NSArray *)_openFiles;
- (void)_lastWindowClosed;
@end

@interface GSDisplayServer (MouseOptions)
- (void)mouseOptionsChanged:(NSNotification *)notification;
@end

@interface NSWindow (ToolTips)
+ (id)_toolTipVisible;
@end

@interface NSObject (ToolTips)
- (void)_endDisplay;
@end

namespace {

BOOL hitsTable(NSEvent *event)
{
    NSView *content = [[event window] contentView];
    const NSPoint point = [[content superview] convertPoint:[event locationInWindow] fromView:nil];
    return [[content hitTest:point] isKindOfClass:[NSTableView class]];
}

// In a table a click with the command key adds or removes a row, and one with Shift extends the
// selection to it; the library expects Shift for the one and Control for the other.
NSEvent *withTheTablesModifiers(NSEvent *event)
{
    const NSUInteger pressed = [event modifierFlags] & (NSCommandKeyMask | NSShiftKeyMask);
    if ([event type] != NSLeftMouseDown || pressed == 0 || !hitsTable(event))
        return event;
    const NSUInteger others = [event modifierFlags] & ~(NSShiftKeyMask | NSControlKeyMask);
    const NSUInteger wanted = (pressed & NSCommandKeyMask) != 0 ? NSShiftKeyMask : NSControlKeyMask;
    return [NSEvent mouseEventWithType:NSLeftMouseDown
                              location:[event locationInWindow]
                         modifierFlags:others | wanted
                             timestamp:[event timestamp]
                          windowNumber:[event windowNumber]
                               context:[event context]
                           eventNumber:[event eventNumber]
                            clickCount:[event clickCount]
                              pressure:[event pressure]];
}

// The library would read the options on the first press of a button, and ask a service of the
// desktop to report changes; while it waits for the answer, the release of a short click overtakes
// its press, and the button stays pressed. Once read, the options are not read again.
void readMouseOptions()
{
    GSDisplayServer *server = GSCurrentServer();
    if ([server respondsToSelector:@selector(mouseOptionsChanged:)])
        [server mouseOptionsChanged:nil];
}

NSString *localized(NSString *text)
{
    return [[NSBundle mainBundle] localizedStringForKey:text value:text table:nil];
}

NSString *information(NSString *key)
{
    NSString *value = [[NSBundle mainBundle] objectForInfoDictionaryKey:key];
    return value == nil ? @"" : value;
}

}  // namespace

@implementation VXApplication

+ (void)initialize
{
    if (self != [VXApplication class])
        return;
    vx::registerLook();
    vx::keepBuiltInFormatsOnly();
    vx::installWorkspaceNotices();
}

- (id)init
{
    AssertMainThread();
    const vx::StartMessages messages;
    self = [super init];
    if (self == nil)
        return nil;
    readMouseOptions();
    vx::registerFonts();
    vx::installTextScale();
    vx::installFileDrops();
    vx::installFolderOpening();
    vx::installMenuTracking();
    vx::installPacedDisplay();
    vx::installSubstituteFonts();
    vx::installSupplementaryGlyphs();
    vx::installTypeSelection();
    vx::installWindowClosing();
    for (NSString *name in @[ @"folder", @"no-volume", @"warning", @"success" ])
        vx::addDoubleSize(name);
    return self;
}

- (void)sendEvent:(NSEvent *)event
{
    AssertMainThread();
    // The library keeps the tool tip on view, even over a panel that the key opens.
    if ([event type] == NSKeyDown)
        [[NSWindow _toolTipVisible] _endDisplay];
    if (vx::showMenuForKey(event))
        return;
    [super sendEvent:withTheTablesModifiers(event)];
}

- (NSEvent *)releaseThatWasLost
{
    NSEvent *press = [self currentEvent];
    return [NSEvent mouseEventWithType:NSLeftMouseUp
                              location:[[press window] mouseLocationOutsideOfEventStream]
                         modifierFlags:[press modifierFlags]
                             timestamp:[press timestamp]
                          windowNumber:[press windowNumber]
                               context:[press context]
                           eventNumber:0
                            clickCount:1
                              pressure:0];
}

// The library keeps its place in the queue while it waits: each turn looks at the whole queue
// again. A button that two turns in a row find released has been released.
- (NSEvent *)releaseOrOtherEvent:(NSUInteger)mask before:(NSDate *)expiration
{
    constexpr NSTimeInterval kTurn = 0.25;
    for (bool wasReleased = false;;) {
        NSDate *turn = [NSDate dateWithTimeIntervalSinceNow:kTurn];
        NSEvent *event = [super nextEventMatchingMask:mask
                                            untilDate:[turn earlierDate:expiration]
                                               inMode:NSEventTrackingRunLoopMode
                                              dequeue:YES];
        if (event != nil || [expiration timeIntervalSinceNow] <= 0)
            return event;
        const bool isReleased = !vx::isAnyButtonPressed();
        if (isReleased && wasReleased)
            return [self releaseThatWasLost];
        wasReleased = isReleased;
    }
}

- (NSEvent *)nextEventMatchingMask:(NSUInteger)mask
                         untilDate:(NSDate *)expiration
                            inMode:(NSString *)mode
                           dequeue:(BOOL)dequeue
{
    AssertMainThread();
    const bool waitsForRelease = dequeue && (mask & NSLeftMouseUpMask) != 0 &&
                                 [mode isEqualToString:NSEventTrackingRunLoopMode];
    // A menu stays open without a button.
    if (waitsForRelease && vx::maskWhileTracking(mask) == mask)
        return [self releaseOrOtherEvent:mask before:expiration];
    for (;;) {
        NSEvent *event = [super nextEventMatchingMask:vx::maskWhileTracking(mask)
                                            untilDate:expiration
                                               inMode:mode
                                              dequeue:dequeue];
        if (event == nil || !dequeue)
            return event;
        event = vx::eventForTracking(event);
        if (event != nil)
            return event;
    }
}

// The library would list the windows before the menu's commands, the current one with a cross. The
// program has only one window to go back to.
- (void)setWindowsMenu:(NSMenu *)menu
{
}

// Without a tile on the desktop, hidden windows could not be asked for again: they are minimised
// instead, to where the desktop keeps such windows.
- (void)hide:(id)sender
{
    AssertMainThread();
    for (NSWindow *window in [self windows])
        if ([window isVisible] && ([window styleMask] & NSMiniaturizableWindowMask) != 0)
            [window performMiniaturize:sender];
}

// The library counts the windows on the screen: when the progress window closes while the main
// window is minimised, it counts as the last one.
- (void)_lastWindowClosed
{
    AssertMainThread();
    for (NSWindow *window in [self windows])
        if ([window isMiniaturized])
            return;
    [super _lastWindowClosed];
}

// The library's panel names its own theme, and authors and copyrights that the program does not
// set.
- (void)orderFrontStandardAboutPanel:(id)sender
{
    AssertMainThread();
    NSString *text =
        [NSString stringWithFormat:@"%@ %@", localized(information(@"ApplicationName")),
                                   information(@"ApplicationRelease")];
    NSAlert *about = [[[NSAlert alloc] init] autorelease];
    [about setAlertStyle:NSInformationalAlertStyle];
    [about setMessageText:text];
    [about setInformativeText:localized(information(@"ApplicationDescription"))];
    [about setIcon:[self applicationIconImage]];
    [about addButtonWithTitle:localized(@"OK")];
    [about runModal];
}

// The library would pass every argument that does not begin with "-" to the delegate as a document,
// and show an alert when the delegate does not open it.
- (NSArray *)_openFiles
{
    return nil;
}

// The library keeps the first code of a session, macOS the last; and it checks whether the session
// was stopped only after the next event, which may never come if the stop came without one.
- (void)stopModalWithCode:(NSInteger)code
{
    AssertMainThread();
    [super stopModalWithCode:code];
    if ([self modalWindow] == nil)
        return;
    // The library itself stops the session of a window that was closed; that must not override the
    // code of the stop that closed it.
    if (_stopped && code == NSRunStoppedResponse && ![[self modalWindow] isVisible])
        return;
    _stopCode = code;
    _stopped = YES;
    [self postEmptyEvent];
}

- (void)postEmptyEvent
{
    NSEvent *event = [NSEvent otherEventWithType:NSApplicationDefined
                                        location:NSZeroPoint
                                   modifierFlags:0
                                       timestamp:0
                                    windowNumber:0
                                         context:nil
                                         subtype:0
                                           data1:0
                                           data2:0];
    [self postEvent:event atStart:NO];
    // A loop that has just run its timers waits for input without another look at its events.
    constexpr NSTimeInterval kWakeDelay = 0.01;
    [self performSelector:@selector(self)
               withObject:nil
               afterDelay:kWakeDelay
                  inModes:@[ NSModalPanelRunLoopMode ]];
}

// The window that a modal window belongs to. The desktop keeps the modal window in front of it, and
// minimises and shows the two together: a modal window minimised alone would be out of reach,
// because no list of windows shows it.
- (NSWindow *)windowBelow:(NSWindow *)window
{
    NSWindow *const modal = [self modalWindow];
    if (modal != nil && modal != window)
        return modal;
    for (NSWindow *other in [self windows])
        if (other != window && [other isVisible] &&
            ([other styleMask] & NSMiniaturizableWindowMask) != 0)
            return other;
    return nil;
}

- (NSInteger)runModalForWindow:(NSWindow *)window
{
    AssertMainThread();
    // Sessions nest: the stop of an outer one may have been asked for already.
    const BOOL outerStopped = _stopped;
    const NSInteger outerCode = _stopCode;
    _stopped = NO;
    [window setParentWindow:[self windowBelow:window]];
    const NSInteger code = [super runModalForWindow:window];
    [window setParentWindow:nil];
    const NSInteger result = _stopped && code != NSRunAbortedResponse ? _stopCode : code;
    _stopped = outerStopped;
    _stopCode = outerCode;
    return result;
}

// The library would then close every window and sign off from the desktop's services, and would
// wait many seconds for those that do not answer. The observers are notified; the process then
// ends.
- (void)replyToApplicationShouldTerminate:(BOOL)shouldTerminate
{
    AssertMainThread();
    if (!shouldTerminate) {
        [super replyToApplicationShouldTerminate:NO];
        return;
    }
    [[NSNotificationCenter defaultCenter]
        postNotificationName:NSApplicationWillTerminateNotification
                      object:self];
    [[NSUserDefaults standardUserDefaults] synchronize];
    exit(EXIT_SUCCESS);
}

@end
