#include "MenuKey.h"

#include "ThreadChecks.h"

#include <algorithm>

namespace vx {
namespace {

bool isKeyForMenus(NSEvent *event)
{
    NSString *characters = [event type] == NSKeyDown ? [event charactersIgnoringModifiers] : nil;
    if ([characters length] != 1)
        return false;
    const unichar key = [characters characterAtIndex:0];
    const bool isShifted = ([event modifierFlags] & NSShiftKeyMask) != 0;
    return key == NSMenuFunctionKey || (key == NSF10FunctionKey && isShifted);
}

NSEvent *mouseEvent(NSEventType type, NSWindow *window, NSPoint location, NSEvent *key)
{
    return [NSEvent mouseEventWithType:type
                              location:location
                         modifierFlags:0
                             timestamp:[key timestamp]
                          windowNumber:[window windowNumber]
                               context:[window graphicsContext]
                           eventNumber:0
                            clickCount:1
                              pressure:0];
}

// Below the row, or above it where the screen ends.
void place(NSWindow *menu, NSWindow *window, NSRect row)
{
    const NSRect screen = [[window screen] visibleFrame];
    const NSSize size = [menu frame].size;
    const NSPoint below = [window convertBaseToScreen:row.origin];
    NSPoint origin = NSMakePoint(below.x, below.y - size.height);
    if (origin.y < NSMinY(screen))
        origin.y = std::min(below.y + NSHeight(row), NSMaxY(screen) - size.height);
    origin.x = std::max(std::min(origin.x, NSMaxX(screen) - size.width), NSMinX(screen));
    [menu setFrameOrigin:origin];
}

}  // namespace

bool showMenuForKey(NSEvent *event)
{
    AssertMainThread();
    NSTableView *table = (NSTableView *)[[event window] firstResponder];
    if (!isKeyForMenus(event) || ![table isKindOfClass:[NSTableView class]] ||
        [table selectedRow] < 0)
        return false;
    NSWindow *const window = [table window];
    [table scrollRowToVisible:[table selectedRow]];
    const NSRect row = [table convertRect:[table frameOfCellAtColumn:0 row:[table selectedRow]]
                                   toView:nil];
    NSEvent *press =
        mouseEvent(NSRightMouseDown, window, NSMakePoint(NSMidX(row), NSMidY(row)), event);
    NSMenu *menu = [table menuForEvent:press];
    if (menu == nil)
        return false;
    // The library goes on until the button that opened the menu was released once.
    [NSApp postEvent:mouseEvent(NSRightMouseUp, window, [press locationInWindow], event)
             atStart:YES];
    NSMenuView *const view = [menu menuRepresentation];
    [menu displayTransient];
    place([view window], window, row);
    [view mouseDown:press];
    [menu closeTransient];
    return true;
}

}  // namespace vx
