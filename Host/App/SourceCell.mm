#import "SourceCell.h"

#include "ThreadChecks.h"

#include <cmath>

namespace {

constexpr CGFloat kIconSize = 24;  // points, as all below
constexpr CGFloat kMargin = 8;
constexpr CGFloat kIconGap = 8;
constexpr CGFloat kDetailSize = 11;

NSDictionary *Attributes(NSFont *font, NSColor *colour)
{
    NSMutableParagraphStyle *style =
        [[[NSParagraphStyle defaultParagraphStyle] mutableCopy] autorelease];
    [style setLineBreakMode:NSLineBreakByTruncatingTail];
    return [NSDictionary dictionaryWithObjectsAndKeys:font, NSFontAttributeName, colour,
                                                      NSForegroundColorAttributeName, style,
                                                      NSParagraphStyleAttributeName, nil];
}

// The longest beginning that fits, with "…" if it is not all.
NSString *Fitting(NSString *text, NSDictionary *attributes, CGFloat width)
{
    if ([text sizeWithAttributes:attributes].width <= width)
        return text;
    NSUInteger fits = 0, tooLong = [text length];
    while (tooLong - fits > 1) {
        const NSUInteger middle = fits + (tooLong - fits) / 2;
        NSString *tried = [[text substringToIndex:middle] stringByAppendingString:@"…"];
        if ([tried sizeWithAttributes:attributes].width <= width)
            fits = middle;
        else
            tooLong = middle;
    }
    const NSRange last = [text rangeOfComposedCharacterSequenceAtIndex:fits];
    return [[text substringToIndex:last.location] stringByAppendingString:@"…"];
}

void DrawLine(NSString *text, NSDictionary *attributes, NSRect frame, CGFloat top)
{
    [Fitting(text, attributes, NSWidth(frame))
           drawAtPoint:NSMakePoint(NSMinX(frame), NSMinY(frame) + top)
        withAttributes:attributes];
}

CGFloat LineHeight(NSDictionary *attributes)
{
    return std::ceil([@"Ag" sizeWithAttributes:attributes].height);
}

}  // namespace

@implementation SourceCell

- (void)dealloc
{
    [_icon release];
    [_detail release];
    [super dealloc];
}

- (id)copyWithZone:(NSZone *)zone
{
    AssertMainThread();
    // The base class copies the pointers but retains nothing.
    SourceCell *copy = [super copyWithZone:zone];
    copy->_icon = [_icon retain];
    copy->_detail = [_detail copy];
    return copy;
}

- (void)setIcon:(NSImage *)icon detail:(NSString *)detail indentation:(CGFloat)points
{
    AssertMainThread();
    [icon retain];
    [_icon release];
    _icon = icon;
    [_detail autorelease];
    _detail = [detail copy];
    _indentation = points;
}

- (void)setHeading:(BOOL)isHeading
{
    _isHeading = isHeading;
}

- (void)setPale:(BOOL)isPale
{
    _isPale = isPale;
}

- (void)drawWithFrame:(NSRect)frame inView:(NSView *)view
{
    [self drawInteriorWithFrame:frame inView:view];
}

- (void)drawInteriorWithFrame:(NSRect)frame inView:(NSView *)view
{
    AssertMainThread();
    const NSRect inner = NSInsetRect(frame, kMargin, 0);
    if (_isHeading)
        [self drawHeadingIn:inner];
    else
        [self drawRowIn:inner flipped:[view isFlipped]];
}

- (void)drawHeadingIn:(NSRect)frame
{
    constexpr CGFloat kRise = 4;
    NSDictionary *attributes =
        Attributes([NSFont boldSystemFontOfSize:kDetailSize], [NSColor secondaryLabelColor]);
    DrawLine([self stringValue], attributes, frame,
             NSHeight(frame) - LineHeight(attributes) - kRise);
}

- (void)drawRowIn:(NSRect)frame flipped:(BOOL)flipped
{
    const CGFloat left = NSMinX(frame) + _indentation;
    [_icon drawInRect:NSMakeRect(left,
                                 NSMinY(frame) + std::floor((NSHeight(frame) - kIconSize) / 2),
                                 kIconSize, kIconSize)
              fromRect:NSZeroRect
             operation:NSCompositeSourceOver
              fraction:_isPale ? 0.5 : 1
        respectFlipped:YES
                 hints:nil];
    const CGFloat textLeft = _icon == nil ? left : left + kIconSize + kIconGap;
    const NSRect text =
        NSMakeRect(textLeft, NSMinY(frame), NSMaxX(frame) - textLeft, NSHeight(frame));
    NSColor *colour =
        [self isHighlighted] ? [NSColor selectedControlTextColor] : [NSColor controlTextColor];
    NSColor *pale = [self isHighlighted] ? colour : [NSColor secondaryLabelColor];
    NSDictionary *name =
        Attributes([NSFont systemFontOfSize:0], _icon == nil || _isPale ? pale : colour);
    NSDictionary *small = Attributes([NSFont systemFontOfSize:kDetailSize], pale);
    const CGFloat below = [_detail length] == 0 ? 0 : LineHeight(small);
    const CGFloat top = std::floor((NSHeight(frame) - LineHeight(name) - below) / 2);
    DrawLine([self stringValue], name, text, top);
    if (below > 0)
        DrawLine(_detail, small, text, top + LineHeight(name));
}

@end
