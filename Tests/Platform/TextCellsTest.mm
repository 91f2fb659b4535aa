// Text that does not fit its cell, and text in the rows of a table.
#include "Drawing.h"

using vxtest::Drawing;

@interface NSCell (Shortening)
- (NSAttributedString *)_resizeAttributedString:(NSAttributedString *)text forRect:(NSRect)rect;
@end

// One row with one text.
@interface OneText : NSObject
@end

@implementation OneText

- (NSInteger)numberOfRowsInTableView:(NSTableView *)table
{
    return 1;
}

- (id)tableView:(NSTableView *)table
    objectValueForTableColumn:(NSTableColumn *)column
                          row:(NSInteger)row
{
    return @"■";
}

@end

namespace {

NSString *const kLong = @"Minutes of the meeting of the committee for the old town hall.odt";

class TextCells : public testing::Test {
protected:
    ~TextCells() override { [m_pool release]; }

    NSString *Shortened(NSString *text, CGFloat width, NSLineBreakMode mode)
    {
        NSTextFieldCell *cell = [[[NSTextFieldCell alloc] initTextCell:text] autorelease];
        [cell setLineBreakMode:mode];
        const NSRect rect = NSMakeRect(0, 0, width, 20);
        NSAttributedString *result = [cell _resizeAttributedString:[cell attributedStringValue]
                                                           forRect:rect];
        EXPECT_LE([result size].width, width);
        return [result string];
    }

private:
    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
};

NSTextField *Field(NSString *text, CGFloat width)
{
    NSTextField *made =
        [[[NSTextField alloc] initWithFrame:NSMakeRect(0, 0, width, 20)] autorelease];
    [made setBezeled:NO];
    [made setEditable:NO];
    [[made cell] setLineBreakMode:NSLineBreakByTruncatingTail];
    [made setStringValue:text];
    return made;
}

}  // namespace

TEST_F(TextCells, AtTheTailTheEllipsisFollowsAsMuchAsFits)
{
    NSString *text = Shortened(kLong, 200, NSLineBreakByTruncatingTail);
    ASSERT_TRUE([text hasSuffix:@"…"]) << [text UTF8String];
    NSString *kept = [text substringToIndex:[text length] - 1];
    EXPECT_TRUE([kLong hasPrefix:kept]);
    NSString *longer = [[kLong substringToIndex:[kept length] + 1] stringByAppendingString:@"…"];
    EXPECT_GT([[[[NSTextFieldCell alloc] initTextCell:longer] autorelease] cellSize].width, 200);
}

TEST_F(TextCells, AtTheHeadTheEndStays)
{
    NSString *text = Shortened(kLong, 200, NSLineBreakByTruncatingHead);
    EXPECT_TRUE([text hasPrefix:@"…"]) << [text UTF8String];
    EXPECT_TRUE([kLong hasSuffix:[text substringFromIndex:1]]);
    EXPECT_GT([text length], 10u);
}

TEST_F(TextCells, InTheMiddleBothEndsStay)
{
    NSString *text = Shortened(kLong, 200, NSLineBreakByTruncatingMiddle);
    NSArray *ends = [text componentsSeparatedByString:@"…"];
    ASSERT_EQ([ends count], 2u) << [text UTF8String];
    EXPECT_TRUE([kLong hasPrefix:[ends objectAtIndex:0]]);
    EXPECT_TRUE([kLong hasSuffix:[ends objectAtIndex:1]]);
    EXPECT_GT([[ends objectAtIndex:0] length], 5u);
    EXPECT_GT([[ends objectAtIndex:1] length], 5u);
}

TEST_F(TextCells, NoCharacterIsCutInTwo)
{
    NSString *const faces = @"😀😀😀😀😀😀😀😀😀😀😀😀😀😀😀😀😀😀😀😀";
    for (CGFloat width = 40; width < 120; width += 3) {
        NSString *text = Shortened(faces, width, NSLineBreakByTruncatingTail);
        EXPECT_EQ([text length] % 2, 1u) << width;
        EXPECT_NE([text UTF8String], nullptr) << width;
    }
}

TEST_F(TextCells, WithoutAnyRoomTheEllipsisStaysAlone)
{
    NSTextFieldCell *cell = [[[NSTextFieldCell alloc] initTextCell:kLong] autorelease];
    [cell setLineBreakMode:NSLineBreakByTruncatingTail];
    NSAttributedString *text = [cell _resizeAttributedString:[cell attributedStringValue]
                                                     forRect:NSMakeRect(0, 0, 1, 20)];
    EXPECT_TRUE([[text string] isEqualToString:@"…"]) << [[text string] UTF8String];
}

TEST_F(TextCells, AFieldShowsWhatDoesNotFitWithTheEllipsis)
{
    NSTextField *longer = Field(kLong, 200);
    const NSRect inner = [[longer cell] titleRectForBounds:[longer bounds]];
    NSString *text = Shortened(kLong, inner.size.width, NSLineBreakByTruncatingTail);
    EXPECT_TRUE(Drawing(longer).Equals(Drawing(Field(text, 200))));
    EXPECT_FALSE(Drawing(Field(kLong, 200)).Equals(Drawing(Field(@"Minutes", 200))));
}

TEST_F(TextCells, ATablesTextStandsInTheMiddleOfItsRow)
{
    OneText *source = [[OneText new] autorelease];
    NSTableView *table =
        [[[NSTableView alloc] initWithFrame:NSMakeRect(0, 0, 100, 60)] autorelease];
    NSTableColumn *column = [[[NSTableColumn alloc] initWithIdentifier:@"only"] autorelease];
    [column setWidth:90];
    [table addTableColumn:column];
    [table setRowHeight:60];
    [table setHeaderView:nil];
    [table setDataSource:(id)source];
    [table reloadData];
    const Drawing drawing(table);
    int first = -1, last = -1;
    for (int y = 0; y < 60; ++y) {
        if (!drawing.IsDarkInRow(y))
            continue;
        if (first < 0)
            first = y;
        last = y;
    }
    ASSERT_GE(first, 0);
    EXPECT_NEAR((first + last) / 2.0, 30, 4);
}
