// What VXApplication puts right: modal sessions, arguments, keys and clicks.
#import "VXApplication.h"

#include "Eventually.h"
#include "MainThreadState.h"

#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <string>
#include <thread>

@interface Stopper : NSObject {
    NSInteger _code;
    BOOL _plainStopFirst;
}
- (id)initWithCode:(NSInteger)code plainStopFirst:(BOOL)first;
- (void)stop;
@end

@implementation Stopper

- (id)initWithCode:(NSInteger)code plainStopFirst:(BOOL)first
{
    self = [super init];
    if (self != nil) {
        _code = code;
        _plainStopFirst = first;
    }
    return self;
}

- (void)stop
{
    if (_plainStopFirst)
        [NSApp stopModal];
    [NSApp stopModalWithCode:_code];
}

@end

// Keeps a promise from the run loop.
@interface Signal : NSObject {
    std::promise<void> *_promise;
}
- (id)initWithPromise:(std::promise<void> *)promise;
- (void)send;
@end

@implementation Signal

- (id)initWithPromise:(std::promise<void> *)promise
{
    self = [super init];
    if (self != nil)
        _promise = promise;
    return self;
}

- (void)send
{
    _promise->set_value();
}

@end

@interface DocumentRecorder : NSObject {
@public
    int _opened;
}
@end

@implementation DocumentRecorder

- (BOOL)application:(NSApplication *)application openFile:(NSString *)file
{
    ++_opened;
    return YES;
}

- (void)application:(NSApplication *)application openFiles:(NSArray *)files
{
    ++_opened;
}

@end

// A table that takes the modifiers of a click instead of tracking the mouse.
@interface ClickTable : NSTableView {
@public
    NSUInteger _modifiers;
}
@end

@implementation ClickTable

- (BOOL)acceptsFirstResponder
{
    return NO;
}

- (void)drawRect:(NSRect)rect
{
}

// Keeps the frame that it was given, without rows too.
- (void)tile
{
}

- (BOOL)acceptsFirstMouse:(NSEvent *)event
{
    return YES;
}

- (void)mouseDown:(NSEvent *)event
{
    _modifiers = [event modifierFlags];
}

@end

namespace {

using Clock = std::chrono::steady_clock;

class Application : public testing::Test {
protected:
    Application()
        : m_window([[NSWindow alloc] initWithContentRect:NSMakeRect(50, 50, 200, 100)
                                               styleMask:NSTitledWindowMask
                                                 backing:NSBackingStoreBuffered
                                                   defer:NO])
    {
        [m_window setReleasedWhenClosed:NO];
    }
    ~Application() override
    {
        [m_window close];
        [m_window release];
        [m_pool release];
    }

    // Ends a session that is not stopped, so that a failure is a failed test and not a hang.
    void ArmWatchdog()
    {
        NSTimer *timer = [NSTimer timerWithTimeInterval:10
                                                 target:NSApp
                                               selector:@selector(stopModal)
                                               userInfo:nil
                                                repeats:NO];
        [[NSRunLoop currentRunLoop] addTimer:timer forMode:NSModalPanelRunLoopMode];
        m_watchdog = timer;
    }

    // Runs a session that another thread has stopped through a performer on the main thread.
    NSInteger RunStoppedBy(Stopper *stopper)
    {
        ArmWatchdog();
        std::promise<void> isRunning;
        Signal *signal = [[[Signal alloc] initWithPromise:&isRunning] autorelease];
        [signal performSelector:@selector(send)
                     withObject:nil
                     afterDelay:0
                        inModes:@[ NSModalPanelRunLoopMode ]];
        std::thread worker([&] {
            NSAutoreleasePool *pool = [NSAutoreleasePool new];
            isRunning.get_future().wait();
            // The session waits for an event that does not come.
            EXPECT_TRUE(Eventually(IsMainThreadWaiting));
            [stopper
                performSelectorOnMainThread:@selector(stop)
                                 withObject:nil
                              waitUntilDone:NO
                                      modes:@[ NSModalPanelRunLoopMode, NSDefaultRunLoopMode ]];
            [pool release];
        });
        const NSInteger code = [NSApp runModalForWindow:m_window];
        worker.join();
        [m_watchdog invalidate];
        return code;
    }

    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
    NSWindow *m_window;
    NSTimer *m_watchdog = nil;
};

}  // namespace

TEST_F(Application, AStopFromAMainThreadPerformerEndsTheSessionAtOnceWithItsCode)
{
    Stopper *stopper = [[[Stopper alloc] initWithCode:7 plainStopFirst:NO] autorelease];
    const auto start = Clock::now();
    EXPECT_EQ(RunStoppedBy(stopper), 7);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
}

TEST_F(Application, AStopFromATimerEndsTheSessionAtOnce)
{
    Stopper *stopper = [[[Stopper alloc] initWithCode:7 plainStopFirst:NO] autorelease];
    NSTimer *timer = [NSTimer timerWithTimeInterval:0.3
                                             target:stopper
                                           selector:@selector(stop)
                                           userInfo:nil
                                            repeats:NO];
    [[NSRunLoop currentRunLoop] addTimer:timer forMode:NSModalPanelRunLoopMode];
    ArmWatchdog();
    const auto start = Clock::now();
    EXPECT_EQ([NSApp runModalForWindow:m_window], 7);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
    [m_watchdog invalidate];
}

TEST_F(Application, TheLastOfTwoStopsGivesTheCode)
{
    Stopper *stopper = [[[Stopper alloc] initWithCode:0 plainStopFirst:YES] autorelease];
    EXPECT_EQ(RunStoppedBy(stopper), 0);
}

TEST_F(Application, AStopOutsideASessionDoesNotEndTheNextOne)
{
    [NSApp stopModalWithCode:3];
    Stopper *stopper = [[[Stopper alloc] initWithCode:8 plainStopFirst:NO] autorelease];
    EXPECT_EQ(RunStoppedBy(stopper), 8);
}

TEST_F(Application, AButtonWhoseReleaseWasLostIsReleased)
{
    NSEvent *event = [NSApp nextEventMatchingMask:NSLeftMouseUpMask | NSLeftMouseDraggedMask
                                        untilDate:[NSDate dateWithTimeIntervalSinceNow:20]
                                           inMode:NSEventTrackingRunLoopMode
                                          dequeue:YES];
    ASSERT_NE(event, nil);
    EXPECT_EQ([event type], NSLeftMouseUp);
}

TEST_F(Application, BareArgumentsAreNotOpenedAsDocuments)
{
    char *arguments[] = {const_cast<char *>("program"), const_cast<char *>("/no/such/volume"),
                         const_cast<char *>("second"), nullptr};
    char *environment[] = {nullptr};
    [NSProcessInfo initializeWithArguments:arguments count:3 environment:environment];
    ASSERT_EQ([[[NSProcessInfo processInfo] arguments] count], 3u);
    DocumentRecorder *recorder = [[DocumentRecorder new] autorelease];
    [NSApp setDelegate:(id)recorder];
    [NSApp finishLaunching];
    EXPECT_EQ(recorder->_opened, 0);
    EXPECT_EQ([NSApp modalWindow], nil);
    [NSApp setDelegate:nil];
}

TEST_F(Application, AClickOnATableComesWithTheModifierThatTheLibraryAsksFor)
{
    ClickTable *table = [[[ClickTable alloc] initWithFrame:NSMakeRect(0, 0, 200, 100)] autorelease];
    [[m_window contentView] addSubview:table];
    [table setFrame:NSMakeRect(0, 0, 200, 100)];
    [m_window orderFront:nil];
    const auto modifiersSeen = [&](NSUInteger pressed) {
        [NSApp sendEvent:[NSEvent mouseEventWithType:NSLeftMouseDown
                                            location:NSMakePoint(50, 50)
                                       modifierFlags:pressed
                                           timestamp:0
                                        windowNumber:[m_window windowNumber]
                                             context:[m_window graphicsContext]
                                         eventNumber:0
                                          clickCount:1
                                            pressure:1]];
        return table->_modifiers & (NSShiftKeyMask | NSControlKeyMask);
    };
    EXPECT_EQ(modifiersSeen(0), 0u);
    EXPECT_EQ(modifiersSeen(NSCommandKeyMask), NSUInteger(NSShiftKeyMask));
    EXPECT_EQ(modifiersSeen(NSShiftKeyMask), NSUInteger(NSControlKeyMask));
}

TEST_F(Application, HidingMinimisesTheWindowsThatCanBeAskedForAgain)
{
    NSWindow *window =
        [[[NSWindow alloc] initWithContentRect:NSMakeRect(50, 50, 200, 100)
                                     styleMask:NSTitledWindowMask | NSMiniaturizableWindowMask
                                       backing:NSBackingStoreBuffered
                                         defer:NO] autorelease];
    [window setReleasedWhenClosed:NO];
    [window orderFront:nil];
    [m_window orderFront:nil];
    [NSApp hide:nil];
    EXPECT_TRUE([window isMiniaturized]);
    EXPECT_TRUE([m_window isVisible]);
    EXPECT_FALSE([NSApp isHidden]);
    [window deminiaturize:nil];
    EXPECT_TRUE([window isVisible]);
    EXPECT_FALSE([window isMiniaturized]);
    [window close];
}
