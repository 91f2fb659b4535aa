#import "ColorButtonCell.h"

#include "ThreadChecks.h"

#include <algorithm>

namespace {

constexpr CGFloat kCornerRadius = 6.0;

NSColor *amber(CGFloat red, CGFloat green)
{
    return [NSColor colorWithCalibratedRed:red / 255.0 green:green / 255.0 blue:0.0 alpha:1.0];
}

}  // namespace

@implementation ColorButtonCell

- (void)drawBezelWithFrame:(NSRect)frame inView:(NSView *)view
{
    AssertMainThread();
    NSColor *normal = amber(243, 183);
    NSColor *highlighted = amber(217, 163);
    NSColor *face = [self isHighlighted] ? highlighted : normal;

    [NSGraphicsContext saveGraphicsState];
    [[NSBezierPath bezierPathWithRoundedRect:frame xRadius:kCornerRadius
                                     yRadius:kCornerRadius] setClip];
    [face setFill];
    NSRectFillUsingOperation(frame, NSCompositeSourceOver);
    [NSGraphicsContext restoreGraphicsState];
}

- (NSRect)drawTitle:(NSAttributedString *)title withFrame:(NSRect)frame inView:(NSView *)view
{
    AssertMainThread();
    [NSGraphicsContext saveGraphicsState];
    NSMutableAttributedString *black = [[title mutableCopy] autorelease];
    // An alternate title may be shorter than the plain one.
    const NSUInteger length = std::min([[self title] length], [black length]);
    [black beginEditing];
    [black addAttribute:NSForegroundColorAttributeName
                  value:[NSColor blackColor]
                  range:NSMakeRange(0, length)];
    [black endEditing];
    const NSRect drawn = [super drawTitle:black withFrame:frame inView:view];
    [NSGraphicsContext restoreGraphicsState];
    return drawn;
}

@end
