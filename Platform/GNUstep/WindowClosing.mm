#include "WindowClosing.h"

#include "MethodReplacement.h"
#include "ThreadChecks.h"

#import <AppKit/AppKit.h>

namespace vx {
namespace {

using Init = id (*)(id, SEL, NSRect, NSUInteger, NSBackingStoreType, BOOL);
using PerformClose = void (*)(id, SEL, id);
Init libraryInit = nullptr;
PerformClose libraryPerformClose = nullptr;

id initClosable(id window, SEL selector, NSRect content, NSUInteger style,
                NSBackingStoreType backing, BOOL defer)
{
    if ((style & NSTitledWindowMask) != 0)
        style |= NSClosableWindowMask;
    return libraryInit(window, selector, content, style, backing, defer);
}

// Its session ends without an answer. Its owner takes it off the screen: closing it here would
// release it while the owner still uses it.
void giveUp(NSWindow *panel)
{
    if ([panel isKindOfClass:[NSSavePanel class]])
        [(NSSavePanel *)panel cancel:nil];
    else
        [NSApp stopModalWithCode:NSRunAbortedResponse];
}

void performClose(id window, SEL selector, id sender)
{
    AssertMainThread();
    NSWindow *modal = [NSApp modalWindow];
    const bool isPanel = [modal isKindOfClass:[NSPanel class]];
    if (isPanel && modal == window) {
        giveUp(modal);
    } else if (isPanel && modal == [window attachedSheet]) {
        giveUp(modal);
        // After the sheet's owner has been notified.
        [window performSelector:selector withObject:sender afterDelay:0];
    } else {
        libraryPerformClose(window, selector, sender);
    }
}

}  // namespace

void installWindowClosing()
{
    AssertMainThread();
    if (libraryInit != nullptr)
        return;
    Class owner = [NSWindow class];
    libraryInit = reinterpret_cast<Init>(
        replaceMethod(owner, @selector(initWithContentRect:styleMask:backing:defer:),
                      reinterpret_cast<IMP>(initClosable)));
    libraryPerformClose = reinterpret_cast<PerformClose>(
        replaceMethod(owner, @selector(performClose:), reinterpret_cast<IMP>(performClose)));
}

}  // namespace vx
