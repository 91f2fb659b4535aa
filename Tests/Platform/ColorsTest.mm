// Texts stand out from what they are drawn on, in the theme's light colours and in its dark ones.
#include "Contrast.h"

#import <GNUstepGUI/GSTheme.h>

#include <gtest/gtest.h>

#include <cstdlib>

using vxtest::Contrast;
using vxtest::Luminance;

namespace {

// The program follows the environment, in which the suite runs a second time.
bool IsDarkExpected()
{
    return getenv("GTK_THEME") != nullptr;
}

NSColor *Named(NSString *name)
{
    return [[GSTheme theme] colorNamed:name state:GSThemeNormalState];
}

bool IsDark(NSColor *color)
{
    return Luminance(color) < 0.1;
}

class Colors : public testing::Test {
protected:
    ~Colors() override { [m_pool release]; }

private:
    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
};

}  // namespace

TEST_F(Colors, BackgroundsAreAsTheDesktopWantsThem)
{
    for (NSColor *background in @[
             [NSColor windowBackgroundColor], [NSColor controlBackgroundColor],
             [NSColor textBackgroundColor], [NSColor controlColor],
             [[GSTheme theme] menuBackgroundColor], [NSColor selectedControlColor]
         ])
        EXPECT_EQ(IsDark(background), IsDarkExpected()) << [[background description] UTF8String];
}

TEST_F(Colors, TextsStandOut)
{
    for (NSColor *background in @[
             [NSColor windowBackgroundColor], [NSColor textBackgroundColor],
             [NSColor selectedControlColor]
         ]) {
        EXPECT_GT(Contrast([NSColor controlTextColor], background), 7);
        EXPECT_GT(Contrast([NSColor textColor], background), 7);
    }
    EXPECT_GT(Contrast([NSColor selectedTextColor], [NSColor selectedTextBackgroundColor]), 7);
    EXPECT_GT(Contrast([NSColor selectedMenuItemTextColor], [NSColor selectedMenuItemColor]), 7);
    EXPECT_GT(Contrast(Named(@"tableHeaderTextColor"), [NSColor windowBackgroundColor]), 5);
    EXPECT_GT(Contrast(Named(@"highlightedTableRowTextColor"),
                       Named(@"highlightedTableRowBackgroundColor")),
              7);
}

TEST_F(Colors, WhatIsOffIsPalerButThere)
{
    for (NSColor *background in
         @[ [NSColor windowBackgroundColor], [NSColor textBackgroundColor] ]) {
        const double off = Contrast([NSColor disabledControlTextColor], background);
        EXPECT_GT(off, 2);
        EXPECT_LT(off, Contrast([NSColor controlTextColor], background));
    }
}

TEST_F(Colors, APictureThatIsPartOfAControlStandsOutToo)
{
    for (NSString *name in
         @[ @"common_3DArrowRight", @"common_ArrowRightH", @"common_Nibble", @"NSMenuCheckmark" ]) {
        NSImage *image = [NSImage imageNamed:name];
        ASSERT_NE(image, nil) << [name UTF8String];
        NSBitmapImageRep *pixels = [NSBitmapImageRep imageRepWithData:[image TIFFRepresentation]];
        double best = 1;
        for (NSInteger y = 0; y < [pixels pixelsHigh]; ++y)
            for (NSInteger x = 0; x < [pixels pixelsWide]; ++x)
                if ([[pixels colorAtX:x y:y] alphaComponent] > 0.9)
                    best = std::max(
                        best, Contrast([pixels colorAtX:x y:y], [NSColor textBackgroundColor]));
        EXPECT_GT(best, 4.5) << [name UTF8String];
    }
}

TEST_F(Colors, AnEmptyBoxIsNotBrighterThanTheText)
{
    for (NSString *name in @[ @"NSSwitch", @"NSRadioButton" ]) {
        NSBitmapImageRep *pixels =
            [NSBitmapImageRep imageRepWithData:[[NSImage imageNamed:name] TIFFRepresentation]];
        EXPECT_EQ(IsDark([pixels colorAtX:8 y:8]), IsDarkExpected()) << [name UTF8String];
    }
}
