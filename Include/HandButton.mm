#import "HandButton.h"

#include "ThreadChecks.h"

@implementation HandButton

- (void)viewDidMoveToWindow
{
    AssertMainThread();
    [self addTrackingRect:[self bounds] owner:self userData:nullptr assumeInside:NO];
}

- (void)mouseEntered:(NSEvent *)event
{
    AssertMainThread();
    [[NSCursor pointingHandCursor] set];
}

- (void)mouseExited:(NSEvent *)event
{
    AssertMainThread();
    [[NSCursor arrowCursor] set];
}

@end
