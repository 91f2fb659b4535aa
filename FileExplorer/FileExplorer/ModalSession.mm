#import "ModalSession.h"

#include "ThreadChecks.h"

NSArray *ModesServedWhileModal()
{
    return [NSArray arrayWithObjects:NSDefaultRunLoopMode, NSModalPanelRunLoopMode,
                                     NSEventTrackingRunLoopMode, nil];
}

bool StopModalSession(NSWindow *window, int64_t code)
{
    AssertMainThread();
    if (window == nil || [NSApp modalWindow] != window)
        return false;
    [NSApp stopModalWithCode:static_cast<NSInteger>(code)];
    return true;
}
