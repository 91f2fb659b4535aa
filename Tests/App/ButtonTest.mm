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

NSButton *AmberButton(NSString *title)
{
    NSButton *button = [[[NSButton alloc] initWithFrame:NSMakeRect(0, 0, 120, 32)] autorelease];
    [button setCell:[[[ColorButtonCell alloc] initTextCell:title] autorelease]];
    [button setBezelStyle:NSRegularSquareBezelStyle];
    [button setBordered:YES];
    return button;
}

NSWindow *EmptyWindow()
{
    return [[[NSWindow alloc] initWithContentRect:NSMakeRect(0, 0, 200, 100)
                                        styleMask:NSBorderlessWindowMask
                                          backing:NSBackingStoreBuffered
                                            defer:NO] autorelease];
}

TEST(ColorButtonCell, AReleasedButtonPaintsAmberAPressedOneDarkerAmber)
{
    const Drawing released(AmberButton(@""));
    released.ExpectColor(60, 16, 243, 183, 0);
    NSButton *button = AmberButton(@"");
    [[button cell] setHighlighted:YES];
    const Drawing pressed(button);
    pressed.ExpectColor(60, 16, 217, 163, 0);
}

TEST(ColorButtonCell, ItsFourCornersAreRoundedBy6Points)
{
    for (const BOOL pressed : {NO, YES}) {
        NSButton *button = AmberButton(@"");
        [[button cell] setHighlighted:pressed];
        const Drawing drawing(button);
        const int red = pressed ? 217 : 243, green = pressed ? 163 : 183;
        // Along each edge the sixth pixel is not quite filled and the seventh is.
        for (const bool right : {false, true}) {
            for (const bool low : {false, true}) {
                const auto filled = [&](int fromSide, int fromEdge) {
                    return drawing.IsColor(right ? 119 - fromSide : fromSide,
                                           low ? 31 - fromEdge : fromEdge, red, green, 0);
                };
                EXPECT_FALSE(filled(0, 0));
                EXPECT_FALSE(filled(5, 0));
                EXPECT_TRUE(filled(6, 0));
                EXPECT_FALSE(filled(0, 5));
                EXPECT_TRUE(filled(0, 6));
                EXPECT_FALSE(filled(1, 1));
                EXPECT_TRUE(filled(2, 2));
            }
        }
    }
}

class ButtonTitle : public testing::TestWithParam<bool> {};

TEST_P(ButtonTitle, IsBlackPressedAndDisabledAsWell)
{
    NSButton *button = AmberButton(@"███");
    [button setEnabled:GetParam()];
    EXPECT_TRUE(Drawing(button).Contains(0, 0, 0));
    [[button cell] setHighlighted:YES];
    EXPECT_TRUE(Drawing(button).Contains(0, 0, 0));
}

INSTANTIATE_TEST_SUITE_P(Enabled, ButtonTitle, testing::Bool());

TEST(HandButton, ThatIsMovedToAWindowTwiceHasTwoTrackingRectanglesAndTheCursorStillToggles)
{
    CountingHandButton *button =
        [[[CountingHandButton alloc] initWithFrame:NSMakeRect(10, 10, 80, 30)] autorelease];
    NSWindow *window = EmptyWindow();
    NSWindow *other = EmptyWindow();
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
    NSWindow *window = EmptyWindow();
    [[window contentView] addSubview:button];
    [button setFrameSize:NSMakeSize(160, 60)];
    EXPECT_EQ(button->_rectangles, 1);
}

}  // namespace
