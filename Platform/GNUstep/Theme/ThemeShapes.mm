#import "ThemeShapes.h"

#include "ThreadChecks.h"

#include <algorithm>

namespace vx::shapes {

void plate(NSRect frame, CGFloat radius, NSColor *fill, NSColor *stroke)
{
    AssertMainThread();
    // Half a point inside, so that the stroke covers whole pixels.
    NSRect inner = NSInsetRect(frame, 0.5, 0.5);
    if (inner.size.width <= 0 || inner.size.height <= 0)
        return;
    const CGFloat fitting = std::min({radius, inner.size.width / 2, inner.size.height / 2});
    NSBezierPath *path = [NSBezierPath bezierPathWithRoundedRect:inner
                                                         xRadius:fitting
                                                         yRadius:fitting];
    if (fill != nil) {
        [fill set];
        [path fill];
    }
    if (stroke != nil) {
        [stroke set];
        [path setLineWidth:1.0];
        [path stroke];
    }
}

void pill(NSRect frame, NSColor *fill)
{
    AssertMainThread();
    if (frame.size.width <= 0 || frame.size.height <= 0)
        return;
    const CGFloat radius = std::min(frame.size.width, frame.size.height) / 2;
    [fill set];
    [[NSBezierPath bezierPathWithRoundedRect:frame xRadius:radius yRadius:radius] fill];
}

void rectangle(NSRect frame, NSColor *fill)
{
    AssertMainThread();
    [fill set];
    NSRectFill(frame);
}

void frame(NSRect frame, NSColor *stroke)
{
    AssertMainThread();
    [stroke set];
    NSFrameRect(frame);
}

}  // namespace vx::shapes
