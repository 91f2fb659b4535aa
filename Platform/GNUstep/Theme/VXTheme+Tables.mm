// Tables and browsers: flat headers with a hairline below and short separators between the columns.
#import "ThemePalette.h"
#import "ThemeShapes.h"
#import "VXTheme.h"

namespace palette = vx::palette;
namespace shapes = vx::shapes;

namespace {

// The header's plate with its lower hairline; the separator is drawn apart, because the corner has
// none.
void headerPlate(NSRect frame, BOOL flipped, NSColor *fill)
{
    shapes::rectangle(frame, fill);
    NSRect line = frame;
    line.size.height = 1;
    if (flipped)
        line.origin.y = NSMaxY(frame) - 1;
    shapes::rectangle(line, palette::separator());
}

}  // namespace

@implementation VXTheme (Tables)

- (void)drawTableCornerView:(NSView *)corner withClip:(NSRect)clip
{
    headerPlate([corner bounds], [corner isFlipped], palette::windowBackground());
}

- (void)drawTableHeaderCell:(NSTableHeaderCell *)cell
                  withFrame:(NSRect)frame
                     inView:(NSView *)view
                      state:(GSThemeControlState)state
{
    NSColor *fill =
        state == GSThemeHighlightedState ? palette::pressed() : palette::windowBackground();
    headerPlate(frame, [view isFlipped], fill);
    NSRect line = NSMakeRect(NSMaxX(frame) - 1, NSMinY(frame) + 5, 1, frame.size.height - 10);
    shapes::rectangle(line, palette::border());
}

- (NSRect)tableHeaderCellDrawingRectForBounds:(NSRect)bounds
{
    return NSInsetRect(bounds, 4, 1);
}

// Right of the last column the header goes on as far as the table is wide.
- (void)drawTableHeaderRect:(NSRect)rect inView:(NSView *)view
{
    headerPlate([view bounds], [view isFlipped], palette::windowBackground());
    [super drawTableHeaderRect:rect inView:view];
}

// Alternating rows lead the eye already; lines between them only where a table has none.
- (void)drawTableViewGridInClipRect:(NSRect)rect inView:(NSView *)view
{
    if (![(NSTableView *)view usesAlternatingRowBackgroundColors])
        [super drawTableViewGridInClipRect:rect inView:view];
}

- (void)drawBrowserHeaderCell:(NSTableHeaderCell *)cell
                    withFrame:(NSRect)frame
                       inView:(NSView *)view
{
    headerPlate(frame, [view isFlipped], palette::windowBackground());
}

- (NSRect)browserHeaderDrawingRectForCell:(NSTableHeaderCell *)cell withFrame:(NSRect)frame
{
    return NSInsetRect(frame, 4, 2);
}

@end
