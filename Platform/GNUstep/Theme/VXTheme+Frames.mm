// Borders, focus rings, boxes and the window's own frame: one hairline where the library draws
// bezels.
#import "ThemePalette.h"
#import "ThemeShapes.h"
#import "VXTheme.h"

namespace palette = vx::palette;
namespace shapes = vx::shapes;

@implementation VXTheme (Frames)

- (void)drawBorderType:(NSBorderType)type frame:(NSRect)frame view:(NSView *)view
{
    if (type == NSNoBorder)
        return;
    const BOOL field = [view isKindOfClass:[NSTextField class]];
    if (field)
        return shapes::plate(frame, 3, palette::content(), palette::border());
    shapes::frame(frame, palette::border());
}

- (NSSize)sizeForBorderType:(NSBorderType)type
{
    if (type == NSNoBorder)
        return NSZeroSize;
    return type == NSLineBorder ? NSMakeSize(1, 1) : NSMakeSize(2, 2);
}

- (void)drawFocusFrame:(NSRect)frame view:(NSView *)view
{
    // A button with a key of its own does without a ring: that key presses it wherever the focus
    // is.
    if ([view isKindOfClass:[NSButton class]] && [[(NSButton *)view keyEquivalent] length] > 0)
        return;
    shapes::plate(frame, 4, nil, [palette::accent() colorWithAlphaComponent:0.6]);
}

- (NSRect)drawWhiteBezel:(NSRect)border withClip:(NSRect)clip
{
    shapes::plate(border, 3, palette::content(), palette::border());
    return NSInsetRect(border, 2, 2);
}

- (NSRect)drawGrayBezel:(NSRect)border withClip:(NSRect)clip
{
    shapes::frame(border, palette::border());
    return NSInsetRect(border, 2, 2);
}

- (NSRect)drawLightBezel:(NSRect)border withClip:(NSRect)clip
{
    return [self drawGrayBezel:border withClip:clip];
}

- (NSRect)drawDarkBezel:(NSRect)border withClip:(NSRect)clip
{
    return [self drawGrayBezel:border withClip:clip];
}

// The library draws its dividing lines as grooves two points high: here one hairline.
- (NSRect)drawGroove:(NSRect)border withClip:(NSRect)clip
{
    if (border.size.height > 2) {
        shapes::frame(border, palette::separator());
        return NSInsetRect(border, 2, 2);
    }
    shapes::rectangle(border, palette::windowBackground());
    border.size.height = 1;
    shapes::rectangle(border, palette::separator());
    return NSZeroRect;
}

@end
