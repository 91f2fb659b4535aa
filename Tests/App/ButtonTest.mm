// The amber button and its cursor.
#import "ColorButtonCell.h"
#import "HandButton.h"

#import "Drawing.h"

#include <gtest/gtest.h>

// Counts the tracking rectangles that the button asks for.
@interface CountingHandButton : HandButton {
@public
    int _rectangles;
    NSRect _last;
}
@end

@implementation CountingHandButton

- (NSTrackingRectTag)addTrackingRect:(NSRect)rect
                               owner:(id)owner
                            userData:(void *)data
                        assumeInside:(BOOL)inside
{
    // Leaving a window asks for one as well, which watches nothing.
    if ([self window] == nil)
        return 0;
    ++_rectangles;
    _last = rect;
    EXPECT_EQ(owner, self);
    EXPECT_EQ(data, nullptr);
    EXPECT_FALSE(inside);
    return [super addTrackingRect:rect owner:owner userData:data assumeInside:inside];
}

@end

namespace {

using vxtest::Drawing;

NSButton *amberButton(NSString *title)
{
    NSButton *button = [[[NSButton alloc] initWithFrame:NSMakeRect(0, 0, 120, 32)] autorelease];
    [button setCell:[[[ColorButtonCell alloc] initTextCell:title] autorelease]];
    [button setBezelStyle:NSRegularSquareBezelStyle];
    [button setBordered:YES];
    return button;
}

NSWindow *emptyWindow()
{
    return [[[NSWindow alloc] initWithContentRect:NSMakeRect(0, 0, 200, 100)
                                        styleMask:NSBorderlessWindowMask
                                          backing:NSBackingStoreBuffered
                                            defer:NO] autorelease];
}

TEST(ColorButtonCell, AReleasedButtonPaintsAmberAPressedOneDarkerAmber)
{
    const Drawing released(amberButton(@""));
    released.expectColor(60, 16, 243, 183, 0);
    NSButton *button = amberButton(@"");
    [[button cell] setHighlighted:YES];
    const Drawing pressed(button);
    pressed.expectColor(60, 16, 217, 163, 0);
}

TEST(ColorButtonCell, ItsFourCornersAreRoundedBy6Points)
{
    const Drawing drawing(amberButton(@""));
    for (const int x : {0, 119}) {
        for (const int y : {0, 31})
            EXPECT_FALSE(drawing.isColor(x, y, 243, 183, 0)) << x << ", " << y;
    }
    for (const int x : {7, 112}) {
        drawing.expectColor(x, 1, 243, 183, 0);
        drawing.expectColor(x, 30, 243, 183, 0);
    }
    drawing.expectColor(1, 7, 243, 183, 0);
    drawing.expectColor(118, 24, 243, 183, 0);
    // A circle of radius 6 leaves (1, 1) out and (2, 2) in.
    EXPECT_FALSE(drawing.isColor(0, 1, 243, 183, 0));
    drawing.expectColor(3, 3, 243, 183, 0);
}

class ButtonTitle : public testing::TestWithParam<bool> {};

TEST_P(ButtonTitle, IsBlackPressedAndDisabledAsWell)
{
    NSButton *button = amberButton(@"███");
    [button setEnabled:GetParam()];
    EXPECT_TRUE(Drawing(button).contains(0, 0, 0));
    [[button cell] setHighlighted:YES];
    EXPECT_TRUE(Drawing(button).contains(0, 0, 0));
}

INSTANTIATE_TEST_SUITE_P(Enabled, ButtonTitle, testing::Bool());

TEST(HandButton, ThatIsMovedToAWindowTwiceHasTwoTrackingRectanglesAndTheCursorStillToggles)
{
    CountingHandButton *button =
        [[[CountingHandButton alloc] initWithFrame:NSMakeRect(10, 10, 80, 30)] autorelease];
    NSWindow *window = emptyWindow();
    NSWindow *other = emptyWindow();
    [[window contentView] addSubview:button];
    EXPECT_EQ(button->_rectangles, 1);
    EXPECT_TRUE(NSEqualRects(button->_last, NSMakeRect(0, 0, 80, 30)));
    [[other contentView] addSubview:button];
    EXPECT_EQ(button->_rectangles, 2);

    NSEvent *event = [NSEvent otherEventWithType:NSApplicationDefined
                                        location:NSZeroPoint
                                   modifierFlags:0
                                       timestamp:0
                                    windowNumber:0
                                         context:nil
                                         subtype:0
                                           data1:0
                                           data2:0];
    for (int i = 0; i < 2; ++i) {
        [button mouseEntered:event];
        EXPECT_EQ([NSCursor currentCursor], [NSCursor pointingHandCursor]);
        [button mouseExited:event];
        EXPECT_EQ([NSCursor currentCursor], [NSCursor arrowCursor]);
    }
}

TEST(HandButton, DoesNotFollowALaterResize)
{
    CountingHandButton *button =
        [[[CountingHandButton alloc] initWithFrame:NSMakeRect(0, 0, 80, 30)] autorelease];
    NSWindow *window = emptyWindow();
    [[window contentView] addSubview:button];
    [button setFrameSize:NSMakeSize(160, 60)];
    EXPECT_EQ(button->_rectangles, 1);
}

}  // namespace
