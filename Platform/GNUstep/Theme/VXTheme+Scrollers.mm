// Scrollers: a narrow track of the content's colour with a rounded knob and no arrows.
#import "ThemePalette.h"
#import "ThemeShapes.h"
#import "VXTheme.h"

namespace palette = vx::palette;
namespace shapes = vx::shapes;

namespace {

constexpr CGFloat kWidth = 12;
constexpr CGFloat kKnobInset = 2;

}  // namespace

@implementation VXTheme (Scrollers)

- (float)defaultScrollerWidth
{
    return kWidth;
}

// Without arrows the library places the knob correctly only if both arrows are set to the same end.
- (BOOL)scrollerArrowsSameEndForScroller:(NSScroller *)scroller
{
    return YES;
}

- (BOOL)scrollViewUseBottomCorner
{
    return NO;
}

- (void)drawScrollerRect:(NSRect)rect
                  inView:(NSView *)view
                 hitPart:(NSScrollerPart)hitPart
            isHorizontal:(BOOL)isHorizontal
{
    NSScroller *scroller = (NSScroller *)view;
    shapes::rectangle(rect, palette::content());
    if (![scroller isEnabled])
        return;
    NSRect knob = [scroller rectForPart:NSScrollerKnob];
    knob = isHorizontal ? NSInsetRect(knob, 0, kKnobInset) : NSInsetRect(knob, kKnobInset, 0);
    const BOOL held = hitPart == NSScrollerKnob || hitPart == NSScrollerKnobSlot;
    shapes::pill(knob, held ? palette::activeKnob() : palette::knob());
}

- (void)drawScrollViewRect:(NSRect)rect inView:(NSView *)view
{
    NSScrollView *scrollView = (NSScrollView *)view;
    shapes::rectangle(rect, palette::content());
    if ([scrollView borderType] != NSNoBorder)
        shapes::frame([view bounds], palette::border());
}

@end

// Called for every scroller while it is made, from a file or by code. The theme's own way of
// overriding other classes' methods does not find its classes in the library's version 0.29; a
// category does it as long as this bundle is loaded, that is, with this theme only.
@implementation NSScroller (WithoutArrows)

- (void)checkSpaceForParts
{
    const NSSize size = [self frame].size;
    const CGFloat length = _scFlags.isHorizontal ? size.width : size.height;
    _arrowsPosition = NSScrollerArrowsNone;
    _usableParts = length > [[self class] scrollerWidth] ? NSAllScrollerParts : NSNoScrollerParts;
}

@end
