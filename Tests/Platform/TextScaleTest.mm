// Text of another size, with what it stands in. The suite runs a second time on a desktop whose
// font is half as large again.
#import "TextScale.h"

#include "LookSettings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

class TextScale : public testing::Test {
protected:
    ~TextScale() override { [m_pool release]; }

    static double Expected() { return getenv("TEST_GTK_FONT") == nullptr ? 1 : 1.5; }

    // An attribute of an element of an interface file after scaling.
    static std::string Scaled(NSString *element, NSDictionary *attributes, NSString *name,
                              CGFloat scale = 1.5)
    {
        NSDictionary *scaled =
            vx::scaledAttributes(element, attributes, scale, NSMakeSize(1280, 900));
        return [[scaled objectForKey:name] UTF8String];
    }

private:
    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
};

}  // namespace

TEST_F(TextScale, FollowsTheDesktopsFont)
{
    EXPECT_DOUBLE_EQ(vx::textScale(), Expected());
    EXPECT_DOUBLE_EQ(vx::scaled(20), 20 * Expected());
}

TEST_F(TextScale, EveryFontOfTheSystemsIsScaled)
{
    EXPECT_NEAR([[NSFont systemFontOfSize:12] pointSize], 12 * Expected(), 0.01);
    EXPECT_NEAR([[NSFont boldSystemFontOfSize:10] pointSize], 10 * Expected(), 0.01);
    EXPECT_NEAR([[NSFont userFixedPitchFontOfSize:12] pointSize], 12 * Expected(), 0.01);
    EXPECT_NEAR([[NSFont menuFontOfSize:12] pointSize], 12 * Expected(), 0.01);
    const double usual = [[NSUserDefaults standardUserDefaults] floatForKey:@"NSFontSize"];
    EXPECT_NEAR([[NSFont systemFontOfSize:0] pointSize], usual * Expected(), 0.01);
}

TEST_F(TextScale, FramesOfAnInterfaceFileTouchAsBefore)
{
    NSDictionary *lower = @{@"key" : @"frame", @"x" : @"0", @"y" : @"0", @"height" : @"55"};
    NSDictionary *upper = @{@"key" : @"frame", @"x" : @"0", @"y" : @"55", @"height" : @"1"};
    EXPECT_EQ(Scaled(@"rect", lower, @"height"), "83");
    EXPECT_EQ(Scaled(@"rect", upper, @"y"), "83");
    EXPECT_EQ(Scaled(@"rect", upper, @"height"), "1");
}

TEST_F(TextScale, SizesRowsAndColumnsOfAnInterfaceFileAreScaled)
{
    EXPECT_EQ(Scaled(@"value", @{@"key" : @"minSize", @"width" : @"680"}, @"width"), "1020");
    EXPECT_EQ(Scaled(@"outlineView", @{@"rowHeight" : @"20"}, @"rowHeight"), "30");
    EXPECT_EQ(Scaled(@"tableColumn", @{@"minWidth" : @"80"}, @"minWidth"), "120");
}

TEST_F(TextScale, AWindowIsNoLargerThanTheScreen)
{
    NSDictionary *contents = @{@"key" : @"contentRect", @"width" : @"900", @"height" : @"560"};
    EXPECT_EQ(Scaled(@"rect", contents, @"width", 1.2), "1080");
    EXPECT_EQ(Scaled(@"rect", contents, @"width"), "1260");
    EXPECT_EQ(Scaled(@"rect", contents, @"height"), "840");
    EXPECT_EQ(Scaled(@"rect", @{@"key" : @"frame", @"width" : @"900"}, @"width"), "1350");
}

TEST_F(TextScale, TextIsNoLargerThanFitsIntoTheScreen)
{
    EXPECT_DOUBLE_EQ(vx::scaleThatFits(1.5, NSMakeSize(1280, 900)), 1.5);
    EXPECT_DOUBLE_EQ(vx::scaleThatFits(3, NSMakeSize(1640, 1560)), 2);
    EXPECT_DOUBLE_EQ(vx::scaleThatFits(3, NSMakeSize(4100, 1040)), 2);
    EXPECT_DOUBLE_EQ(vx::scaleThatFits(1.5, NSMakeSize(640, 480)), 1);
    EXPECT_DOUBLE_EQ(vx::scaleThatFits(0.8, NSMakeSize(640, 480)), 0.8);
}

TEST_F(TextScale, NothingElseOfAnInterfaceFileIs)
{
    EXPECT_EQ(Scaled(@"rect", @{@"key" : @"screenRect", @"width" : @"1280"}, @"width"), "1280");
    EXPECT_EQ(Scaled(@"font", @{@"size" : @"13"}, @"size"), "13");
    EXPECT_EQ(Scaled(@"button", @{@"tag" : @"102"}, @"tag"), "102");
}
