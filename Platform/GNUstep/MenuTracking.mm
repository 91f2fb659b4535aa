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

constexpr unichar kEscape = 0x1b, kReturn = '\r', kEnter = 0x03;

using Track = BOOL (*)(id, SEL, NSEvent *);
using Attach = void (*)(id, SEL, NSInteger);
Track libraryTrack = nullptr;
Attach libraryAttach = nullptr;

NSMenuView *g_bar = nil;   // in which a menu is open; nil: none
NSMenuView *g_menu = nil;  // one that was put up by itself
Clock::time_point g_opened;
// Where the pointer was when a key chose a command. Until it moves, the command under it is not
// highlighted again.
NSPoint g_pointer;
bool g_isChosenByKey = false;

// A menu's command may show a modal window, which gets its events itself.
bool isTracking()
{
    return (g_bar != nil || g_menu != nil) && [NSApp modalWindow] == nil;
}

BOOL track(id view, SEL selector, NSEvent *event)
{
    NSMenuView *const outerBar = g_bar, *const outerMenu = g_menu;
    g_isChosenByKey = false;
    if ([view isHorizontal])
        g_bar = view;
    else if (g_bar == nil)
        g_menu = view;
    const BOOL result = libraryTrack(view, selector, event);
    g_bar = outerBar;
    g_menu = outerMenu;
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

// From the highlighted command upwards or downwards, past the end from the other one.
void highlightNext(NSInteger step)
{
    NSMenu *const menu = [g_menu menu];
    const NSInteger count = [menu numberOfItems];
    NSInteger item = [g_menu highlightedItemIndex];
    if (item < 0 && step < 0)
        item = 0;
    for (NSInteger tries = 0; tries < count; ++tries) {
        item = (item + step + count) % count;
        NSMenuItem *const candidate = [menu itemAtIndex:item];
        if ([candidate isSeparatorItem] || ![candidate isEnabled])
            continue;
        [g_menu setHighlightedItemIndex:item];
        g_pointer = [NSEvent mouseLocation];
        g_isChosenByKey = true;
        return;
    }
}

// The library carries out what is highlighted when a button is released.
NSEvent *releasing(NSEvent *key)
{
    return [NSEvent mouseEventWithType:NSLeftMouseUp
                              location:[key locationInWindow]
                         modifierFlags:[key modifierFlags]
                             timestamp:[key timestamp]
                          windowNumber:[key windowNumber]
                               context:[key context]
                           eventNumber:0
                            clickCount:1
                              pressure:0];
}

// When a modifier key changes, the library closes the bar's open menu.
NSEvent *closing(NSEvent *key)
{
    if (g_bar == nil) {
        [g_menu setHighlightedItemIndex:-1];
        return releasing(key);
    }
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

NSEvent *eventForKey(NSEvent *event)
{
    NSString *characters = [event characters];
    const unichar key = [characters length] == 1 ? [characters characterAtIndex:0] : 0;
    if (key == kEscape)
        return closing(event);
    if (g_bar != nil)
        return nil;
    if (key == NSUpArrowFunctionKey || key == NSDownArrowFunctionKey)
        highlightNext(key == NSUpArrowFunctionKey ? -1 : 1);
    else if ((key == kReturn || key == kEnter) && [g_menu highlightedItemIndex] >= 0)
        return releasing(event);
    return nil;
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
        return g_bar != nil && opensItsMenu() ? nil : event;
    case NSKeyDown:
        return eventForKey(event);
    case NSPeriodic:
        if (g_isChosenByKey && NSEqualPoints(g_pointer, [NSEvent mouseLocation]))
            return nil;
        g_isChosenByKey = false;
        return event;
    case NSKeyUp:
        return nil;
    default:
        return event;
    }
}

}  // namespace vx
