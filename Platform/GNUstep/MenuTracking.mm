#include "MenuTracking.h"

#include "MethodReplacement.h"
#include "ThreadChecks.h"

#include <chrono>

namespace vx {
namespace {

using Clock = std::chrono::steady_clock;

// The pointer opens a title's menu as it reaches it, just before the click. That click must not
// close the menu.
constexpr std::chrono::milliseconds kJustOpened(400);

constexpr unichar kEscape = 0x1b;

using Track = BOOL (*)(id, SEL, NSEvent *);
using Attach = void (*)(id, SEL, NSInteger);
Track libraryTrack = nullptr;
Attach libraryAttach = nullptr;

NSMenuView *g_bar = nil;  // in which a menu is open; nil: none
Clock::time_point g_opened;

// A menu's command may show a modal window, which gets its events itself.
bool isTracking()
{
    return g_bar != nil && [NSApp modalWindow] == nil;
}

BOOL track(id view, SEL selector, NSEvent *event)
{
    NSMenuView *const outer = g_bar;
    if ([view isHorizontal])
        g_bar = view;
    const BOOL result = libraryTrack(view, selector, event);
    g_bar = outer;
    return result;
}

void attach(id view, SEL selector, NSInteger index)
{
    libraryAttach(view, selector, index);
    if (view == g_bar)
        g_opened = Clock::now();
}

// -1: none.
NSInteger titleUnderPointer()
{
    const NSPoint inWindow = [[g_bar window] mouseLocationOutsideOfEventStream];
    return [g_bar indexOfItemAtPoint:[g_bar convertPoint:inWindow fromView:nil]];
}

bool opensItsMenu()
{
    const NSInteger title = titleUnderPointer();
    if (title < 0)
        return false;
    return title != [g_bar highlightedItemIndex] || Clock::now() - g_opened < kJustOpened;
}

// When a modifier key changes, the library closes the open menu.
NSEvent *closing(NSEvent *key)
{
    return [NSEvent keyEventWithType:NSFlagsChanged
                            location:[key locationInWindow]
                       modifierFlags:[key modifierFlags]
                           timestamp:[key timestamp]
                        windowNumber:[key windowNumber]
                             context:[key context]
                          characters:@""
         charactersIgnoringModifiers:@""
                           isARepeat:NO
                             keyCode:0];
}

}  // namespace

void installMenuTracking()
{
    AssertMainThread();
    if (libraryTrack != nullptr)
        return;
    Class owner = [NSMenuView class];
    libraryTrack = reinterpret_cast<Track>(
        replaceMethod(owner, @selector(trackWithEvent:), reinterpret_cast<IMP>(track)));
    libraryAttach = reinterpret_cast<Attach>(replaceMethod(
        owner, @selector(attachSubmenuForItemAtIndex:), reinterpret_cast<IMP>(attach)));
}

NSUInteger maskWhileTracking(NSUInteger mask)
{
    AssertMainThread();
    return isTracking() ? mask | NSKeyDownMask | NSKeyUpMask : mask;
}

NSEvent *eventForTracking(NSEvent *event)
{
    AssertMainThread();
    if (!isTracking())
        return event;
    switch ([event type]) {
    case NSLeftMouseUp:
        return opensItsMenu() ? nil : event;
    case NSKeyDown: {
        NSString *characters = [event characters];
        const bool escape = [characters length] == 1 && [characters characterAtIndex:0] == kEscape;
        return escape ? closing(event) : nil;
    }
    case NSKeyUp:
        return nil;
    default:
        return event;
    }
}

}  // namespace vx
