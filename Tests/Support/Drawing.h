// Looks at what a view draws, pixel by pixel. Main thread.
#pragma once

#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

#include <cmath>

namespace vxtest {

// The view in a window of its own, drawn once. Points are counted from the upper left corner.
class Drawing {
public:
    explicit Drawing(NSView *view)
    {
        const NSRect frame = [view frame];
        _window = [[NSWindow alloc]
            initWithContentRect:NSMakeRect(100, 100, NSWidth(frame), NSHeight(frame))
                      styleMask:NSBorderlessWindowMask
                        backing:NSBackingStoreBuffered
                          defer:NO];
        [_window setReleasedWhenClosed:NO];
        [view setFrameOrigin:NSZeroPoint];
        [[_window contentView] addSubview:view];
        [_window orderFront:nil];
        [_window display];
        [[_window contentView] lockFocus];
        _bitmap = [[NSBitmapImageRep alloc]
            initWithFocusedViewRect:NSMakeRect(0, 0, NSWidth(frame), NSHeight(frame))];
        [[_window contentView] unlockFocus];
        [view removeFromSuperview];
    }
    ~Drawing()
    {
        [_bitmap release];
        [_window close];
        [_window release];
    }
    Drawing(const Drawing &) = delete;
    Drawing &operator=(const Drawing &) = delete;

    bool isColor(int x, int y, int red, int green, int blue) const
    {
        NSColor *color = at(x, y);
        return near([color redComponent], red) && near([color greenComponent], green) &&
               near([color blueComponent], blue);
    }

    void expectColor(int x, int y, int red, int green, int blue) const
    {
        EXPECT_TRUE(isColor(x, y, red, green, blue))
            << "at " << x << ", " << y << " " << [[at(x, y) description] UTF8String];
    }

    bool contains(int red, int green, int blue) const
    {
        for (int y = 0; y < [_bitmap pixelsHigh]; ++y) {
            for (int x = 0; x < [_bitmap pixelsWide]; ++x) {
                if (isColor(x, y, red, green, blue))
                    return true;
            }
        }
        return false;
    }

    bool isBlueAt(int x, int y) const
    {
        NSColor *color = at(x, y);
        return [color blueComponent] > [color redComponent] + 0.2;
    }

    // Whether there is a pixel as dark as a text in that line.
    bool isDarkInRow(int y) const
    {
        for (int x = 0; x < [_bitmap pixelsWide]; ++x) {
            if ([at(x, y) greenComponent] < 0.5)
                return true;
        }
        return false;
    }

    // Every pixel is the same.
    bool equals(const Drawing &other) const
    {
        return equals(other, NSMakeRect(0, 0, static_cast<CGFloat>([_bitmap pixelsWide]),
                                        static_cast<CGFloat>([_bitmap pixelsHigh])));
    }

    // Within a rectangle in points from the upper left corner.
    bool equals(const Drawing &other, NSRect part) const
    {
        for (int y = int(NSMinY(part)); y < int(NSMaxY(part)); ++y) {
            for (int x = int(NSMinX(part)); x < int(NSMaxX(part)); ++x) {
                if (![at(x, y) isEqual:other.at(x, y)])
                    return false;
            }
        }
        return true;
    }

private:
    static bool near(CGFloat component, int expected)
    {
        return std::abs(component * 255 - expected) <= 2;
    }

    NSColor *at(int x, int y) const
    {
        return [[_bitmap colorAtX:x y:y] colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
    }

    NSWindow *_window;
    NSBitmapImageRep *_bitmap;
};

}  // namespace vxtest
