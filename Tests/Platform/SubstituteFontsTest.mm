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
