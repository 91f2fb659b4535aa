#import "TreeOutlineView.h"

@implementation TreeOutlineView

- (void)viewDidMoveToWindow
{
    [super viewDidMoveToWindow];
    if ([self window] == nil)
        return;
    [self reloadData];
    [[self window] makeFirstResponder:self];
}

@end
