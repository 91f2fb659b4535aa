// The windows as they look: every text stands out, and none is cut off in any language.
#include "Contrast.h"
#import "DamageWindow.h"
#include "HostTexts.h"
#include "HostWindow.h"
#import "SourceCell.h"

#include <algorithm>

namespace {

void AddControls(NSView *view, NSMutableArray *controls)
{
    if ([view isKindOfClass:[NSControl class]])
        [controls addObject:view];
    for (NSView *part in [view subviews])
        AddControls(part, controls);
}

NSArray *ControlsOf(NSWindow *window)
{
    NSMutableArray *controls = [NSMutableArray array];
    AddControls([window contentView], controls);
    return controls;
}

// Of the pixels of a cell that is drawn in a window, the one that stands out best.
double BestContrast(NSCell *cell, NSSize size)
{
    NSWindow *window =
        [[NSWindow alloc] initWithContentRect:NSMakeRect(100, 100, size.width, size.height)
                                    styleMask:NSBorderlessWindowMask
                                      backing:NSBackingStoreBuffered
                                        defer:NO];
    [window setReleasedWhenClosed:NO];
    NSColor *background = [NSColor controlBackgroundColor];
    [window setBackgroundColor:background];
    [window orderFront:nil];
    [window display];
    NSView *view = [window contentView];
    [view lockFocus];
    [cell drawInteriorWithFrame:[view bounds] inView:view];
    NSBitmapImageRep *pixels =
        [[[NSBitmapImageRep alloc] initWithFocusedViewRect:[view bounds]] autorelease];
    [view unlockFocus];
    double best = 1;
    for (NSInteger y = 0; y < [pixels pixelsHigh]; ++y)
        for (NSInteger x = 0; x < [pixels pixelsWide]; ++x)
            best = std::max(best, vxtest::Contrast([pixels colorAtX:x y:y], background));
    [window close];
    [window release];
    return best;
}

// Enough for small text.
constexpr double kReadable = 4.5;

// Run a second time in the theme's dark colours.
class ReadableHostTexts : public HostWindowTest {};

TEST_F(ReadableHostTexts, OfTheWindowsStandOut)
{
    DamageWindow *list = [[[DamageWindow alloc] init] autorelease];
    int labels = 0;
    for (NSWindow *window in @[ Window(), [list window] ]) {
        for (NSTextField *label in ControlsOf(window)) {
            if (![label isKindOfClass:[NSTextField class]])
                continue;
            ++labels;
            NSColor *background =
                [label drawsBackground] ? [label backgroundColor] : [window backgroundColor];
            EXPECT_GE(vxtest::Contrast([label textColor], background), kReadable)
                << [[label description] UTF8String] << [[label stringValue] UTF8String];
        }
    }
    EXPECT_GT(labels, 12);
    [list close];
}

TEST_F(ReadableHostTexts, OfTheListStandOut)
{
    SourceCell *heading = [[[SourceCell alloc] initTextCell:@"IIIIII"] autorelease];
    [heading setHeading:YES];
    EXPECT_GE(BestContrast(heading, NSMakeSize(200, 24)), kReadable);
    // Without a name, so that the small line below it is what is seen.
    SourceCell *detail = [[[SourceCell alloc] initTextCell:@""] autorelease];
    [detail setIcon:nil detail:@"IIIIII" indentation:0];
    EXPECT_GE(BestContrast(detail, NSMakeSize(200, 40)), kReadable);
}

}  // namespace
