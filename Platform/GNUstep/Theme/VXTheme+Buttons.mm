// Push buttons: plates with a thin rounded border; the default button of a window stands out
// in the accent colour. A button's cell that draws its own face (as the export button's does) is
// not drawn here.
#import "ThemePalette.h"
#import "ThemeShapes.h"
#import "VXTheme.h"

namespace palette = vx::palette;
namespace shapes = vx::shapes;

namespace {

constexpr CGFloat kRadius = 5;

BOOL isDefaultButton(NSCell *cell)
{
    if (![cell isKindOfClass:[NSButtonCell class]])
        return NO;
    return [[(NSButtonCell *)cell keyEquivalent] isEqualToString:@"\r"];
}

BOOL isPressed(GSThemeControlState state)
{
    return state != GSThemeNormalState && state != GSThemeFirstResponderState &&
           state != GSThemeDisabledState;
}

}  // namespace

@implementation VXTheme (Buttons)

// The default button is recognised by its colour; the library's picture of a return key beside the
// title is not used.
- (void)setKeyEquivalent:(NSString *)key forButtonCell:(NSButtonCell *)cell
{
}

- (void)drawButton:(NSRect)frame
                in:(NSCell *)cell
              view:(NSView *)view
             style:(int)style
             state:(GSThemeControlState)state
{
    const BOOL marked = isDefaultButton(cell) && [cell isEnabled];
    NSColor *face = marked ? palette::defaultButton() : palette::content();
    if (isPressed(state))
        face = marked ? palette::selection() : palette::pressed();
    NSColor *edge = marked ? palette::accent() : palette::border();
    if (![cell isEnabled])
        edge = palette::separator();
    shapes::plate(frame, kRadius, face, edge);
}

- (GSThemeMargins)buttonMarginsForCell:(NSCell *)cell
                                 style:(int)style
                                 state:(GSThemeControlState)state
{
    return GSThemeMargins{4, 4, 3, 3};
}

- (NSRect)drawButton:(NSRect)border withClip:(NSRect)clip
{
    shapes::frame(border, palette::border());
    return NSInsetRect(border, 1, 1);
}

- (NSRect)drawDarkButton:(NSRect)border withClip:(NSRect)clip
{
    return [self drawButton:border withClip:clip];
}

@end
