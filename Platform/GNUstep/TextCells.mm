// Text in cells as macOS draws it: what does not fit ends in "…" where the library clips it, or
// ends it in three full stops; Hebrew and Arabic run from the right; and in a table it stands in
// the middle of its row, off the column's edge and the icon. Categories for every cell, with any
// theme. Main thread.
#include "VisualOrder.h"

#import <AppKit/AppKit.h>

#include <algorithm>
#include <cmath>

@interface NSCell (Drawing)
- (NSAttributedString *)_drawAttributedString;
- (BOOL)_shouldShortenStringForRect:(NSRect)rect size:(NSSize)size length:(NSUInteger)length;
- (NSAttributedString *)_resizeAttributedString:(NSAttributedString *)text forRect:(NSRect)rect;
- (void)_drawEditorWithFrame:(NSRect)frame inView:(NSView *)view;
@end

namespace {

constexpr CGFloat kTableInset = 2;  // points at both sides of a table's text

// The range that the ellipsis replaces when `kept` UTF-16 units stay: whole characters, at the
// place that the mode gives.
NSRange rangeToDrop(NSString *text, NSUInteger kept, NSLineBreakMode mode)
{
    const NSUInteger dropped = [text length] - kept;
    NSUInteger start = kept;
    if (mode == NSLineBreakByTruncatingHead)
        start = 0;
    else if (mode == NSLineBreakByTruncatingMiddle)
        start = (kept + 1) / 2;
    return [text rangeOfComposedCharacterSequencesForRange:NSMakeRange(start, dropped)];
}

NSAttributedString *shortened(NSAttributedString *text, NSUInteger kept, NSLineBreakMode mode)
{
    NSMutableAttributedString *shorter = [[text mutableCopy] autorelease];
    [shorter replaceCharactersInRange:rangeToDrop([text string], kept, mode) withString:@"…"];
    return shorter;
}

NSRect rectInRow(NSRect rect, CGFloat height)
{
    const CGFloat spare = std::max<CGFloat>(rect.size.height - height, 0);
    rect.origin.y += std::floor(spare / 2);
    rect.size.height -= std::floor(spare / 2);
    return NSInsetRect(rect, std::min(kTableInset, rect.size.width / 2), 0);
}

}  // namespace

@implementation NSCell (Ellipsis)

// The longest form that fits; the ellipsis alone if not even that fits.
- (NSAttributedString *)_resizeAttributedString:(NSAttributedString *)text forRect:(NSRect)rect
{
    const NSLineBreakMode mode = [self lineBreakMode];
    NSUInteger fits = 0, tooLong = [text length];
    while (tooLong - fits > 1) {
        const NSUInteger middle = fits + (tooLong - fits) / 2;
        if ([shortened(text, middle, mode) size].width <= rect.size.width)
            fits = middle;
        else
            tooLong = middle;
    }
    return shortened(text, fits, mode);
}

@end

@implementation NSTextFieldCell (Ellipsis)

- (void)drawInteriorWithFrame:(NSRect)frame inView:(NSView *)view
{
    if (_cell.in_editing) {
        [self _drawEditorWithFrame:frame inView:view];
        return;
    }
    // A picture that was given to the cell is not shown; the title's place depends on that.
    _cell.type = NSTextCellType;
    NSAttributedString *text = [self _drawAttributedString];
    const NSSize size = [text size];
    NSRect rect = [self titleRectForBounds:frame];
    if ([view isKindOfClass:[NSTableView class]])
        rect = rectInRow(rect, size.height);
    if ([self _shouldShortenStringForRect:rect size:size length:[text length]])
        text = [self _resizeAttributedString:text forRect:rect];
    [vx::attributedInVisualOrder(text) drawInRect:rect];
}

@end
