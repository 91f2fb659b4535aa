#import "StackedView.h"

#include "ThreadChecks.h"

#include <cmath>

namespace {

constexpr CGFloat kGap = 10;  // points

BOOL IsLabel(NSView *view)
{
    return [view isKindOfClass:[NSTextField class]] && ![(NSTextField *)view isEditable] &&
           ![(NSTextField *)view isBezeled];
}

CGFloat HeightOfText(NSTextField *label, CGFloat width)
{
    if ([[label stringValue] length] == 0)
        return 0;
    // The cell keeps two points off each edge.
    constexpr CGFloat kInset = 2, kTall = 10000;
    NSDictionary *font = [NSDictionary dictionaryWithObject:[label font]
                                                     forKey:NSFontAttributeName];
    NSAttributedString *text = [[[NSAttributedString alloc] initWithString:[label stringValue]
                                                                attributes:font] autorelease];
    const NSRect rect = [text boundingRectWithSize:NSMakeSize(width - 2 * kInset, kTall)
                                           options:NSStringDrawingUsesLineFragmentOrigin];
    return std::ceil(NSHeight(rect)) + 2;
}

CGFloat HeightOf(NSView *view, CGFloat width)
{
    return IsLabel(view) ? HeightOfText((NSTextField *)view, width) : NSHeight([view frame]);
}

}  // namespace

@implementation StackedView

- (BOOL)isFlipped
{
    return YES;
}

- (void)layOut
{
    AssertMainThread();
    const CGFloat width = NSWidth([self bounds]);
    CGFloat top = 0;
    for (NSView *view in [self subviews]) {
        if ([view isHidden])
            continue;
        const CGFloat height = HeightOf(view, width);
        [view setFrame:NSMakeRect(0, top, width, height)];
        top += height > 0 ? height + kGap : 0;
    }
    [self setNeedsDisplay:YES];
}

- (void)resizeSubviewsWithOldSize:(NSSize)size
{
    AssertMainThread();
    [self layOut];
}

@end
