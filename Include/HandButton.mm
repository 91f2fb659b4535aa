#import "HandButton.h"

@implementation HandButton

- (void)viewDidMoveToWindow
{
    [self addTrackingRect:[self bounds] owner:self userData:nullptr assumeInside:NO];
}

- (void)mouseEntered:(NSEvent *)event
{
    [[NSCursor pointingHandCursor] set];
}

- (void)mouseExited:(NSEvent *)event
{
    [[NSCursor arrowCursor] set];
}

@end
