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
    [self reloadData];
    [[self window] makeFirstResponder:self];
}

@end
