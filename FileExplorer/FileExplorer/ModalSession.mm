#import "ModalSession.h"

namespace {

constexpr NSTimeInterval kWakeDelay = 0.01;  // seconds

void wakeEventLoop()
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
    [NSApp postEvent:event atStart:NO];
    // A loop that has run its timers may wait for input without another look at its events.
    [NSApp performSelector:@selector(self)
                withObject:nil
                afterDelay:kWakeDelay
                   inModes:ModesServedWhileModal()];
}

}  // namespace

NSArray *ModesServedWhileModal()
{
    return [NSArray arrayWithObjects:NSDefaultRunLoopMode, NSModalPanelRunLoopMode,
                                     NSEventTrackingRunLoopMode, nil];
}

bool StopModalSession(NSWindow *window, int64_t code)
{
    if (window == nil || [NSApp modalWindow] != window)
        return false;
    [NSApp stopModalWithCode:static_cast<NSInteger>(code)];
    wakeEventLoop();
    return true;
}
