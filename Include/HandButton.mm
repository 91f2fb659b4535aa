#import "HandButton.h"

@implementation HandButton

- (void)viewDidMoveToWindow
{
    [self addTrackingRect:[self bounds] owner:self userData:nullptr assumeInside:NO];
}

- (void)mouseEntered:(NSEvent *)__unused event
{
    [[NSCursor pointingHandCursor] set];
}

- (void)mouseExited:(NSEvent *)__unused event
{
    [[NSCursor arrowCursor] set];
}

@end
