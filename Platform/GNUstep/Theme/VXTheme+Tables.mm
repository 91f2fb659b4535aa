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

// With the room that the library leaves inside, a title stands above its column's texts.
- (NSRect)tableHeaderCellDrawingRectForBounds:(NSRect)bounds
{
    return NSInsetRect(bounds, 1, 1);
}

// To the right of the last column the header extends to the width of the table.
- (void)drawTableHeaderRect:(NSRect)rect inView:(NSView *)view
{
    headerPlate([view bounds], [view isFlipped], palette::windowBackground());
    [super drawTableHeaderRect:rect inView:view];
}

// Version 0.29 of the library has no alternating rows: every table with a header has them, down to
// the lower edge, with or without rows there. One without is a list of places.
- (void)drawTableViewBackgroundInClipRect:(NSRect)clip
                                   inView:(NSView *)view
                      withBackgroundColor:(NSColor *)background
{
    const CGFloat height = [(NSTableView *)view rowHeight];
    shapes::rectangle(clip, palette::content());
    if (height < 1 || [(NSTableView *)view headerView] == nil)
        return;
    NSRect row = NSMakeRect(NSMinX(clip), 0, clip.size.width, height);
    for (long i = long(NSMinY(clip) / height) | 1; static_cast<CGFloat>(i) * height < NSMaxY(clip);
         i += 2) {
        row.origin.y = static_cast<CGFloat>(i) * height;
        shapes::rectangle(NSIntersectionRect(row, clip), palette::alternateRow());
    }
}

// Alternating rows lead the eye already.
- (void)drawTableViewGridInClipRect:(NSRect)rect inView:(NSView *)view
{
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
