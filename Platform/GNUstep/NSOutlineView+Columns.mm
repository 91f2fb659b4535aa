// The first column of a tree takes the slack when the tree is resized, as the interface file asks
// for; the library has no such styles and lets the last column take it.
#import <AppKit/AppKit.h>

@implementation NSOutlineView (Columns)

// The library calls this whenever the columns filled the visible width before it changed, or would
// fill it now.
- (void)sizeLastColumnToFit
{
    NSTableColumn *first = [[self tableColumns] firstObject];
    CGFloat others = 0;
    for (NSTableColumn *column in [self tableColumns])
        others += column == first ? 0 : [column width];
    const CGFloat visible = NSWidth([[self superview] bounds]);
    // Its own limits hold.
    [first setWidth:visible - others];
}

@end
