#import "TreeOutlineView.h"

#include "ThreadChecks.h"

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

@end
