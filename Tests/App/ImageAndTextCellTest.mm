// The cell of the "File Name" column: where its icon and its text lie, to the pixel.
#import "ImageAndTextCell.h"

#import "CellTest.h"
#import "Drawing.h"

#include <gtest/gtest.h>

namespace {

using vxtest::Drawing;

NSColor *Red()
{
    return [NSColor colorWithCalibratedRed:1 green:0 blue:0 alpha:1];
}

ImageAndTextCell *CellWithImage(NSImage *image)
{
    ImageAndTextCell *cell = [[[ImageAndTextCell alloc] initTextCell:@""] autorelease];
    [cell setImage:image];
    return cell;
}

NSView *ViewOf(NSCell *cell, CGFloat height, BOOL flipped = YES)
{
    return [[[CellView alloc] initWithCell:cell
                                     frame:NSMakeRect(10, 20, 120, height)
                                   flipped:flipped] autorelease];
}

enum class Opening { kEdit, kSelect };

// Where an editor of 200 points that is opened on the cell begins.
CGFloat EditorLeft(NSCell *cell, Opening opening)
{
    NSView *view = [[[NSView alloc] initWithFrame:NSMakeRect(0, 0, 200, 40)] autorelease];
    NSTextView *editor = [[[NSTextView alloc] initWithFrame:NSMakeRect(0, 0, 10, 10)] autorelease];
    const NSRect frame = NSMakeRect(0, 0, 200, 20);
    [editor setFieldEditor:YES];
    [cell setEditable:YES];
    [cell setSelectable:YES];
    if (opening == Opening::kEdit)
        [cell editWithFrame:frame inView:view editor:editor delegate:nil event:nil];
    else
        [cell selectWithFrame:frame inView:view editor:editor delegate:nil start:0 length:0];
    const CGFloat left = NSMinX([[editor superview] frame]);
    [cell endEditing:editor];
    return left;
}

// The distance of the editor from the left edge, in points, beyond that of a plain cell.
CGFloat EditorInset(NSCell *cell, Opening opening)
{
    NSTextFieldCell *plain = [[[NSTextFieldCell alloc] initTextCell:@""] autorelease];
    return EditorLeft(cell, opening) - EditorLeft(plain, opening);
}

struct Placement {
    CGFloat rowHeight;
    int iconTop;  // below the row's top

    friend void PrintTo(const Placement &placement, std::ostream *out)
    {
        *out << "in a row of " << placement.rowHeight << " the icon lies " << placement.iconTop
             << " below its top";
    }
};

class IconPlacement : public testing::TestWithParam<Placement> {};

TEST_P(IconPlacement, TheIconsTopFollowsTheRowsHeight)
{
    const int top = 20 + GetParam().iconTop;
    const Drawing drawing(ViewOf(CellWithImage(ImageOf(Red(), 16)), GetParam().rowHeight));
    drawing.ExpectColor(13, top - 1, 0, 255, 0);
    drawing.ExpectColor(13, top, 255, 0, 0);
    drawing.ExpectColor(13, top + 15, 255, 0, 0);
    drawing.ExpectColor(13, top + 16, 0, 255, 0);
}

INSTANTIATE_TEST_SUITE_P(RowHeights, IconPlacement,
                         testing::Values(Placement{17, 0}, Placement{20, 1}, Placement{24, 3}),
                         [](const auto &each) {
                             return "Of" + std::to_string(static_cast<int>(each.param.rowHeight));
                         });

TEST(ImageAndTextCell, InAnUnflippedViewTheIconLiesOnePointBelowTheCentre)
{
    const Drawing drawing(ViewOf(CellWithImage(ImageOf(Red(), 16)), 20, NO));
    // The row spans 20 to 40 from below in a view 60 high; the icon begins at 20 - 17 + 2.
    drawing.ExpectColor(13, 60 - 5 - 1, 255, 0, 0);
    drawing.ExpectColor(13, 60 - 5, 0, 255, 0);
    drawing.ExpectColor(13, 60 - 21, 255, 0, 0);
    drawing.ExpectColor(13, 60 - 22, 0, 255, 0);
}

TEST(ImageAndTextCell, WithoutAnImageItDrawsExactlyAsAPlainTextFieldCellAndIs3PointsWider)
{
    NSTextFieldCell *plain = [[[NSTextFieldCell alloc] initTextCell:@"some text"] autorelease];
    ImageAndTextCell *cell = [[[ImageAndTextCell alloc] initTextCell:@"some text"] autorelease];
    const Drawing expected(ViewOf(plain, 20));
    const Drawing actual(ViewOf(cell, 20));
    EXPECT_TRUE(actual.Equals(expected));
    EXPECT_EQ([cell cellSize].width, [plain cellSize].width + 3);
    EXPECT_EQ([cell cellSize].height, [plain cellSize].height);
}

TEST(ImageAndTextCell, A32PointImageIsDrawnAt16InAStripOf19WhileAnEditorStarts35PointsIn)
{
    ImageAndTextCell *cell = CellWithImage(ImageOf(Red(), 32));
    const Drawing drawing(ViewOf(cell, 20));
    drawing.ExpectColor(12, 28, 0, 255, 0);
    drawing.ExpectColor(13, 28, 255, 0, 0);
    drawing.ExpectColor(28, 28, 255, 0, 0);
    drawing.ExpectColor(29, 28, 0, 255, 0);
    EXPECT_EQ(EditorInset(cell, Opening::kEdit), 35);
    EXPECT_EQ(EditorInset(cell, Opening::kSelect), 35);
}

TEST(ImageAndTextCell, AnEditorOnACellWithoutAnImageStarts3PointsIn)
{
    EXPECT_EQ(EditorInset(CellWithImage(nil), Opening::kEdit), 3);
    EXPECT_EQ(EditorInset(CellWithImage(nil), Opening::kSelect), 3);
}

TEST(ImageAndTextCell, TheTextStarts19PointsIn)
{
    ImageAndTextCell *cell = CellWithImage(ImageOf(Red(), 16));
    NSTextFieldCell *plain = [[[NSTextFieldCell alloc] initTextCell:@"text"] autorelease];
    [cell setStringValue:@"text"];
    CellView *shifted = [[[CellView alloc] initWithCell:plain
                                                  frame:NSMakeRect(29, 20, 101, 20)
                                                flipped:YES] autorelease];
    const Drawing expected(shifted);
    const Drawing actual(ViewOf(cell, 20));
    EXPECT_TRUE(actual.Equals(expected, NSMakeRect(29, 0, 171, 60)));
}

TEST(ImageAndTextCell, WithABackgroundColourTheStripIsFilledBeforeTheIconIsDrawn)
{
    ImageAndTextCell *cell = CellWithImage(ImageOf(Red(), 16));
    [cell setDrawsBackground:YES];
    [cell setBackgroundColor:[NSColor colorWithCalibratedRed:0 green:0 blue:1 alpha:1]];
    const Drawing drawing(ViewOf(cell, 24));
    drawing.ExpectColor(10, 21, 0, 0, 255);
    drawing.ExpectColor(28, 43, 0, 0, 255);
    drawing.ExpectColor(13, 23, 255, 0, 0);
    drawing.ExpectColor(9, 30, 0, 255, 0);
}

TEST(ImageAndTextCell, ItsSizeGrowsByTheImagesWidthAnd3)
{
    NSTextFieldCell *plain = [[[NSTextFieldCell alloc] initTextCell:@""] autorelease];
    EXPECT_EQ([CellWithImage(ImageOf(Red(), 32)) cellSize].width, [plain cellSize].width + 35);
}

TEST(ImageAndTextCell, TheImageFrameIsCentredAndRoundedUp)
{
    const NSRect frame =
        [CellWithImage(ImageOf(Red(), 16)) imageFrameForCellFrame:NSMakeRect(5, 7, 100, 21)];
    EXPECT_TRUE(NSEqualRects(frame, NSMakeRect(8, 10, 16, 16)));
    EXPECT_TRUE(NSEqualRects([CellWithImage(nil) imageFrameForCellFrame:NSMakeRect(5, 7, 100, 21)],
                             NSZeroRect));
}

TEST(ImageAndTextCell, ACopySharesTheImageAndOutlivesTheCell)
{
    NSImage *image = [[NSImage alloc] initWithSize:NSMakeSize(16, 16)];
    ImageAndTextCell *copy = nil;
    @autoreleasepool {
        ImageAndTextCell *cell = [[ImageAndTextCell alloc] initTextCell:@"a"];
        [cell setImage:image];
        copy = [cell copy];
        [cell release];
    }
    EXPECT_EQ([copy image], image);
    EXPECT_EQ([image retainCount], 2u);
    [copy release];
    EXPECT_EQ([image retainCount], 1u);
    [image release];
}

}  // namespace
