// The few shapes that the theme is drawn with: crisp one-pixel frames, hairlines and rounded
// plates. All lengths are in points of the focused view. Main thread only.
#pragma once

#import <AppKit/AppKit.h>

namespace vx::shapes {

// A rounded plate with a one-point border that lies wholly inside the frame; a nil colour leaves
// its part out.
void plate(NSRect frame, CGFloat radius, NSColor *fill, NSColor *stroke);

// A lozenge: a plate without a border whose shorter sides are half circles.
void pill(NSRect frame, NSColor *fill);

void rectangle(NSRect frame, NSColor *fill);

// A one-point frame inside the rectangle.
void frame(NSRect frame, NSColor *stroke);

}  // namespace vx::shapes
