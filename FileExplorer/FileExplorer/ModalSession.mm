#import "ModalSession.h"

namespace {

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
