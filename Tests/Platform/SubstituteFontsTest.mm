// Characters that the interface's font does not have, in the language of the user that runs the
// test.
#include "Drawing.h"

using vxtest::Drawing;

namespace {

class SubstituteFonts : public testing::Test {
protected:
    ~SubstituteFonts() override { [m_pool release]; }

private:
    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
};

NSTextField *Label(NSString *text)
{
    NSTextField *made = [[[NSTextField alloc] initWithFrame:NSMakeRect(0, 0, 80, 24)] autorelease];
    [made setBezeled:NO];
    [made setEditable:NO];
    [made setStringValue:text];
    return made;
}

// The font of each character in which the text is laid out.
void ExpectFontsHaveTheCharacters(NSString *text, NSFont *font)
{
    NSMutableAttributedString *laidOut = [[[NSMutableAttributedString alloc]
        initWithString:text
            attributes:[NSDictionary dictionaryWithObject:font
                                                   forKey:NSFontAttributeName]] autorelease];
    [laidOut fixFontAttributeInRange:NSMakeRange(0, [text length])];
    for (NSUInteger at = 0; at < [text length]; ++at) {
        NSFont *taken = [laidOut attribute:NSFontAttributeName atIndex:at effectiveRange:nullptr];
        EXPECT_TRUE([[taken coveredCharacterSet] characterIsMember:[text characterAtIndex:at]])
            << "character " << at << " in " << [[taken fontName] UTF8String];
        EXPECT_EQ([taken pointSize], [font pointSize]);
    }
}

}  // namespace

TEST_F(SubstituteFonts, AChineseTextIsNotDrawnAsQuestionMarks)
{
    const Drawing chinese(Label(@"导出文件"));
    const Drawing marks(Label(@"????"));
    EXPECT_FALSE(chinese.Equals(marks));
}

TEST_F(SubstituteFonts, TwoChineseCharactersDoNotLookTheSame)
{
    const Drawing one(Label(@"导"));
    const Drawing other(Label(@"件"));
    EXPECT_FALSE(one.Equals(other));
}

TEST_F(SubstituteFonts, EveryCharacterGetsAFontThatHasIt)
{
    ExpectFontsHaveTheCharacters(@"File 导出文件 ファイル 2", [NSFont systemFontOfSize:11]);
}

TEST_F(SubstituteFonts, EveryCharacterOfABoldTextGetsAFontThatHasIt)
{
    ExpectFontsHaveTheCharacters(@"File 导出文件 ファイル 2", [NSFont boldSystemFontOfSize:14]);
}

TEST_F(SubstituteFonts, TwoEmojiAreDrawnAndNotAlike)
{
    const Drawing laughing(Label(@"\U0001f600"));
    const Drawing crying(Label(@"\U0001f622"));
    EXPECT_FALSE(laughing.Equals(crying));
    EXPECT_FALSE(laughing.Equals(Drawing(Label(@"?"))));
    // Of another script; the first font that has its letters is not the interface's.
    EXPECT_FALSE(Drawing(Label(@"\U00010330")).Equals(Drawing(Label(@"?"))));
}

TEST_F(SubstituteFonts, AnEmojiIsDrawnBetweenOtherCharacters)
{
    const Drawing laughing(Label(@"zoo \U0001f600.txt"));
    EXPECT_FALSE(laughing.Equals(Drawing(Label(@"zoo \U0001f622.txt"))));
    EXPECT_FALSE(laughing.Equals(Drawing(Label(@"zoo \ufffd.txt"))));
}

TEST_F(SubstituteFonts, AnEmojiTakesTheRoomThatItsFontGivesIt)
{
    NSDictionary *plain = [NSDictionary dictionaryWithObject:[NSFont systemFontOfSize:12]
                                                      forKey:NSFontAttributeName];
    const CGFloat one = [@"\U0001f600" sizeWithAttributes:plain].width;
    const CGFloat two = [@"\U0001f600\U0001f600" sizeWithAttributes:plain].width;
    EXPECT_GT(one, [@"?" sizeWithAttributes:plain].width);
    EXPECT_NEAR(two, 2 * one, 1);
}

TEST_F(SubstituteFonts, ARareCharacterGetsAFontThatHasItWhereOneIsInstalled)
{
    // A font without emoji.
    NSFont *font = [NSFont fontWithName:@"NimbusSans-Regular" size:12];
    if (font == nil)
        font = [NSFont fontWithName:@"DejaVuSerif" size:12];
    ASSERT_NE(font, nil);
    const UTF32Char laughing = 0x1f600;
    ASSERT_FALSE([[font coveredCharacterSet] longCharacterIsMember:laughing]);
    NSMutableAttributedString *text = [[[NSMutableAttributedString alloc]
        initWithString:@"a\U0001f600b"
            attributes:[NSDictionary dictionaryWithObject:font
                                                   forKey:NSFontAttributeName]] autorelease];
    [text fixFontAttributeInRange:NSMakeRange(0, 4)];
    NSRange range;
    NSFont *taken = [text attribute:NSFontAttributeName atIndex:1 effectiveRange:&range];
    EXPECT_TRUE([[taken coveredCharacterSet] longCharacterIsMember:laughing])
        << [[taken fontName] UTF8String];
    EXPECT_EQ([taken pointSize], 12);
    EXPECT_TRUE(NSEqualRanges(range, NSMakeRange(1, 2)));
}

TEST_F(SubstituteFonts, ACharacterThatNoFontHasIsAQuestionMark)
{
    EXPECT_TRUE(Drawing(Label(@"\U0010fffd")).Equals(Drawing(Label(@"?"))));
}
