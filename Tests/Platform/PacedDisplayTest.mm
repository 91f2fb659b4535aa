// How often a window is redrawn whose contents change all the time.
#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

#include <chrono>

using Clock = std::chrono::steady_clock;

@interface CountingView : NSView {
@public
    int _drawn;
    int _value;
    int _valueShown;
}
- (void)show:(int)value;
@end

@implementation CountingView

- (void)show:(int)value
{
    _value = value;
    [self setNeedsDisplay:YES];
}

- (void)drawRect:(NSRect)rect
{
    ++_drawn;
    _valueShown = _value;
}

@end

namespace {

class PacedDisplay : public testing::Test {
protected:
    PacedDisplay()
    {
        m_window = [[NSWindow alloc] initWithContentRect:NSMakeRect(100, 100, 200, 100)
                                               styleMask:NSTitledWindowMask
                                                 backing:NSBackingStoreBuffered
                                                   defer:NO];
        [m_window setReleasedWhenClosed:NO];
        m_view = [[CountingView alloc] initWithFrame:NSMakeRect(0, 0, 200, 100)];
        [m_window setContentView:m_view];
        [m_window orderFront:nil];
        [m_window display];
    }
    ~PacedDisplay() override
    {
        [m_window close];
        [m_view release];
        [m_window release];
        [m_pool release];
    }

    static void Turn(NSTimeInterval seconds)
    {
        NSAutoreleasePool *pool = [NSAutoreleasePool new];
        // Ends the turn when nothing else does.
        [NSTimer scheduledTimerWithTimeInterval:seconds
                                         target:[NSNull null]
                                       selector:@selector(self)
                                       userInfo:nil
                                        repeats:NO];
        [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode
                                 beforeDate:[NSDate dateWithTimeIntervalSinceNow:seconds]];
        [pool release];
    }

    // Changes the view with every turn of the run loop for a while; returns the seconds it took.
    double ChangeForAWhile()
    {
        const Clock::time_point start = Clock::now();
        int value = 0;
        while (Clock::now() - start < std::chrono::milliseconds(300)) {
            [m_view show:++value];
            Turn(0.0001);
        }
        return std::chrono::duration<double>(Clock::now() - start).count();
    }

    // Nothing of the test's own wakes the run loop meanwhile; it gives up after five seconds.
    bool WaitUntilShown()
    {
        const Clock::time_point start = Clock::now();
        NSDate *end = [NSDate dateWithTimeIntervalSinceNow:5];
        while (m_view->_valueShown != m_view->_value && [end timeIntervalSinceNow] > 0)
            [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode beforeDate:end];
        return Clock::now() - start < std::chrono::seconds(4);
    }

    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
    NSWindow *m_window;
    CountingView *m_view;
};

}  // namespace

TEST_F(PacedDisplay, AWindowThatChangesAllTheTimeIsDrawnSixtyTimesASecondAtMost)
{
    // On a busy machine some whiles have too few changes to tell anything.
    double most = 0;
    int before = 0;
    for (int attempt = 0; attempt < 20 && m_view->_value <= most; ++attempt) {
        before = m_view->_drawn;
        most = 60 * ChangeForAWhile() + 2;
    }
    ASSERT_GT(m_view->_value, most) << "never enough changes to tell";
    EXPECT_GT(m_view->_drawn, before);
    EXPECT_LE(m_view->_drawn - before, most);
}

TEST_F(PacedDisplay, TheLastChangeIsShownThoughNothingElseHappens)
{
    ChangeForAWhile();
    EXPECT_TRUE(WaitUntilShown());
}

TEST_F(PacedDisplay, AWindowAtRestIsDrawnWithTheTurnThatFollowsItsChange)
{
    ChangeForAWhile();
    ASSERT_TRUE(WaitUntilShown());
    const Clock::time_point start = Clock::now();
    while (Clock::now() - start < std::chrono::milliseconds(50))
        Turn(0.01);
    [m_view show:-1];
    Turn(0.0001);
    EXPECT_EQ(m_view->_valueShown, -1);
}
