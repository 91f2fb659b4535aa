#import "ModalDriver.h"

#include <gtest/gtest.h>

namespace {

constexpr NSTimeInterval kInterval = 0.01;

}  // namespace

@interface AppTestWaiter : NSObject {
@public
    std::function<bool()> *_condition;
    std::function<void()> *_action;
    NSDate *_deadline;
    BOOL _acting, _acted;
}
- (void)look:(NSTimer *)timer;
@end

@implementation AppTestWaiter

- (void)dealloc
{
    delete _condition;
    delete _action;
    [_deadline release];
    [super dealloc];
}

- (void)look:(NSTimer *)timer
{
    // The timer goes only with its next turn: an event that the action posts is noticed by an
    // idle loop when something wakes it, and the mouse does not move here.
    if (_acted) {
        [timer invalidate];
    } else if (!_acting && (*_condition)()) {
        _acting = YES;
        (*_action)();
        _acted = YES;
    } else if (!_acting && [_deadline timeIntervalSinceNow] < 0) {
        [timer invalidate];
        ADD_FAILURE() << "what the test waits for did not come";
        [NSApp abortModal];
    }
}

@end

namespace apptest {

void When(std::function<bool()> condition, std::function<void()> action)
{
    AppTestWaiter *waiter = [[AppTestWaiter new] autorelease];
    waiter->_condition = new std::function<bool()>(std::move(condition));
    waiter->_action = new std::function<void()>(std::move(action));
    waiter->_deadline = [[NSDate dateWithTimeIntervalSinceNow:kDeadline] retain];
    NSTimer *timer = [NSTimer timerWithTimeInterval:kInterval
                                             target:waiter
                                           selector:@selector(look:)
                                           userInfo:nil
                                            repeats:YES];
    for (NSString *mode in
         @[ NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode ])
        [[NSRunLoop currentRunLoop] addTimer:timer forMode:mode];
}

NSView *FindView(NSView *view, const std::function<bool(NSView *)> &matches)
{
    if (matches(view))
        return view;
    for (NSView *subview in [view subviews]) {
        NSView *found = FindView(subview, matches);
        if (found != nil)
            return found;
    }
    return nil;
}

NSButton *ButtonTitled(NSWindow *window, NSString *title)
{
    return (NSButton *)FindView([window contentView], [title](NSView *view) {
        return [view isKindOfClass:[NSButton class]] &&
               [[(NSButton *)view title] isEqualToString:title];
    });
}

bool ShowsText(NSWindow *window, NSString *text)
{
    return FindView([window contentView], [text](NSView *view) {
               return [view isKindOfClass:[NSTextField class]] &&
                      [[(NSTextField *)view stringValue] isEqualToString:text];
           }) != nil;
}

bool ShowsImage(NSWindow *window, NSImage *image)
{
    return image != nil && FindView([window contentView], [image](NSView *view) {
                               return [view respondsToSelector:@selector(image)] &&
                                      [(id)view image] == image;
                           }) != nil;
}

}  // namespace apptest
