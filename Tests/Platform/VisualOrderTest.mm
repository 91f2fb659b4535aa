// Text that runs from the right, as it is drawn. What is expected is spelled in the order of the
// screen, letter by letter.
#include "VisualOrder.h"

#include "Drawing.h"

#include <string>

using vxtest::Drawing;

// Draws what a field would draw, the characters as they are given.
@interface GivenOrder : NSView {
    NSAttributedString *_text;
    NSRect _place;
}
- (id)initLike:(NSTextField *)field showing:(NSString *)text;
@end

@implementation GivenOrder

- (id)initLike:(NSTextField *)field showing:(NSString *)text
{
    self = [super initWithFrame:[field frame]];
    if (self == nil)
        return nil;
    NSAttributedString *like = [[field cell] attributedStringValue];
    NSDictionary *attributes = [like attributesAtIndex:0 effectiveRange:nullptr];
    _text = [[NSAttributedString alloc] initWithString:text attributes:attributes];
    _place = [[field cell] titleRectForBounds:[field bounds]];
    return self;
}

- (void)dealloc
{
    [_text release];
    [super dealloc];
}

- (void)drawRect:(NSRect)dirty
{
    [_text drawInRect:_place];
}

@end

namespace {

class VisualOrder : public testing::Test {
protected:
    VisualOrder() = default;
    ~VisualOrder() override { [m_pool release]; }
    VisualOrder(const VisualOrder &) = delete;
    VisualOrder &operator=(const VisualOrder &) = delete;

    static std::string Shown(const char *stored)
    {
        return [vx::inVisualOrder([NSString stringWithUTF8String:stored]) UTF8String];
    }

private:
    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
};

NSTextField *Field(NSString *text)
{
    NSTextField *made = [[[NSTextField alloc] initWithFrame:NSMakeRect(0, 0, 200, 24)] autorelease];
    [made setBezeled:NO];
    [made setEditable:NO];
    [made setDrawsBackground:NO];
    [made setStringValue:text];
    return made;
}

}  // namespace

TEST_F(VisualOrder, HebrewRunsFromTheRight)
{
    EXPECT_EQ(Shown("\u05d0\u05d1\u05d2"), "\u05d2\u05d1\u05d0");
}

TEST_F(VisualOrder, WhatRunsFromTheLeftKeepsItsPlaceAndItsOrder)
{
    EXPECT_EQ(Shown("a \u05d0\u05d1 b.txt"), "a \u05d1\u05d0 b.txt");
    EXPECT_EQ(Shown("\u05d0\u05d1.txt"), "\u05d1\u05d0.txt");
}

TEST_F(VisualOrder, NumbersKeepTheOrderOfTheirDigits)
{
    EXPECT_EQ(Shown("\u05d0 123 \u05d1"), "\u05d1 123 \u05d0");
}

TEST_F(VisualOrder, BracketsTurnAround)
{
    EXPECT_EQ(Shown("\u05d0(\u05d1)\u05d2"), "\u05d2(\u05d1)\u05d0");
}

TEST_F(VisualOrder, ArabicLettersAreJoined)
{
    // Beh, teh, beh: its last form at the left, its first at the right.
    EXPECT_EQ(Shown("\u0628\u062a\u0628"), "\ufe90\ufe98\ufe91");
}

TEST_F(VisualOrder, TwoArabicLettersThatBecomeOneLeaveNothingBehind)
{
    EXPECT_EQ(Shown("\u0644\u0627"), "\ufefb");
}

TEST_F(VisualOrder, OtherTextIsTheSameObject)
{
    for (NSString *text in @[ @"", @"Übersicht.txt", @"写真", @"😀", @"Ελληνικά" ])
        EXPECT_EQ(vx::inVisualOrder(text), text) << [text UTF8String];
}

TEST_F(VisualOrder, ANameThatCommandsADirectionIsShownAsItIsStored)
{
    // It would read "exe.jpg" at its end.
    for (const char *name : {"\u05d0\u05d1 \u202egpj.exe", "\u2067\u05d0\u05d1\u2069.txt"})
        EXPECT_EQ(Shown(name), name);
}

TEST_F(VisualOrder, ANameWithHalfACharacterIsShownAsItIsStored)
{
    const unichar half[] = {0x5d0, 0xd83d, 0x5d1};
    NSString *name = [NSString stringWithCharacters:half length:3];
    EXPECT_EQ(vx::inVisualOrder(name), name);
}

TEST_F(VisualOrder, AFieldIsDrawnInThatOrder)
{
    NSTextField *stored = Field(@"a \u05d0\u05d1\u05d2 b");
    NSString *const seen = @"a \u05d2\u05d1\u05d0 b";
    NSView *expected = [[[GivenOrder alloc] initLike:stored showing:seen] autorelease];
    NSView *other = [[[GivenOrder alloc] initLike:stored showing:[stored stringValue]] autorelease];
    const Drawing drawn(stored);
    EXPECT_TRUE(drawn.Equals(Drawing(expected)));
    EXPECT_FALSE(drawn.Equals(Drawing(other)));
}
