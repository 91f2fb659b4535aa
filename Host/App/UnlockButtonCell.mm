#import "UnlockButtonCell.h"

#include "ThreadChecks.h"

@implementation UnlockButtonCell

- (void)drawWithFrame:(NSRect)frame inView:(NSView *)view
{
    AssertMainThread();
    [super drawWithFrame:frame inView:view];
    if ([self isEnabled])
        return;
    // A colour of the system's has no alpha of its own.
    NSColor *background =
        [[NSColor windowBackgroundColor] colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
    [[background colorWithAlphaComponent:0.6] setFill];
    NSRectFillUsingOperation(frame, NSCompositeSourceOver);
}

@end
