#import "TreeOutlineView.h"

#include "ThreadChecks.h"

#include <objc/runtime.h>

namespace {

constexpr CGFloat kIndentation = 18;  // points a level

}  // namespace

@implementation TreeOutlineView

- (void)viewDidMoveToWindow
{
    AssertMainThread();
    [super viewDidMoveToWindow];
    if ([self window] == nil)
        return;
    // Not every platform takes it from the interface file.
    [self setIndentationPerLevel:kIndentation];
    [self setTarget:self];
    [self setDoubleAction:@selector(openOrCloseClickedFolder:)];
    [self reloadData];
    [[self window] makeFirstResponder:self];
}

// The triangle's clicks do not come here.
- (void)openOrCloseClickedFolder:(id)sender
{
    AssertMainThread();
    id item = [self clickedRow] < 0 ? nil : [self itemAtRow:[self clickedRow]];
    if (item == nil || ![self isExpandable:item])
        return;
    if ([self isItemExpanded:item])
        [self collapseItem:item];
    else
        [self expandItem:item];
}

// The menu is that of the selection, which a click elsewhere moves.
- (NSMenu *)menuForEvent:(NSEvent *)event
{
    AssertMainThread();
    const NSInteger row = [self rowAtPoint:[self convertPoint:[event locationInWindow]
                                                     fromView:nil]];
    if (row < 0)
        return nil;
    if (![self isRowSelected:row])
        [self selectRowIndexes:[NSIndexSet indexSetWithIndex:static_cast<NSUInteger>(row)]
            byExtendingSelection:NO];
    return [super menuForEvent:event];
}

- (IBAction)copy:(id)sender
{
    AssertMainThread();
    [NSApp sendAction:@selector(copyNames:) to:[self delegate] from:sender];
}

- (BOOL)validateMenuItem:(NSMenuItem *)item
{
    AssertMainThread();
    return !sel_isEqual([item action], @selector(copy:)) || [self numberOfSelectedRows] > 0;
}

@end
