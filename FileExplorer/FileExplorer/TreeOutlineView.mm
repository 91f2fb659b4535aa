#import "TreeOutlineView.h"

@implementation TreeOutlineView

- (void)viewDidMoveToWindow
{
    [super viewDidMoveToWindow];
    if ([self window] == nil)
        return;
    // Not every platform reads this from the interface file.
    [self setUsesAlternatingRowBackgroundColors:YES];
    [self reloadData];
    [[self window] makeFirstResponder:self];
}

@end
