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

    bool IsColor(int x, int y, int red, int green, int blue) const
    {
        NSColor *color = At(x, y);
        return Near([color redComponent], red) && Near([color greenComponent], green) &&
               Near([color blueComponent], blue);
    }

    void ExpectColor(int x, int y, int red, int green, int blue) const
    {
        EXPECT_TRUE(IsColor(x, y, red, green, blue))
            << "at " << x << ", " << y << " " << [[At(x, y) description] UTF8String];
    }

    bool Contains(int red, int green, int blue) const
    {
        for (int y = 0; y < [_bitmap pixelsHigh]; ++y) {
            for (int x = 0; x < [_bitmap pixelsWide]; ++x) {
                if (IsColor(x, y, red, green, blue))
                    return true;
            }
        }
        return false;
    }

    bool IsBlueAt(int x, int y) const
    {
        NSColor *color = At(x, y);
        return [color blueComponent] > [color redComponent] + 0.2;
    }

    // Whether there is a pixel as dark as a text in that line.
    bool IsDarkInRow(int y) const
    {
        for (int x = 0; x < [_bitmap pixelsWide]; ++x) {
            if ([At(x, y) greenComponent] < 0.5)
                return true;
        }
        return false;
    }

    // Every pixel is the same.
    bool Equals(const Drawing &other) const
    {
        return Equals(other, NSMakeRect(0, 0, static_cast<CGFloat>([_bitmap pixelsWide]),
                                        static_cast<CGFloat>([_bitmap pixelsHigh])));
    }

    // Within a rectangle in points from the upper left corner.
    bool Equals(const Drawing &other, NSRect part) const
    {
        for (int y = int(NSMinY(part)); y < int(NSMaxY(part)); ++y) {
            for (int x = int(NSMinX(part)); x < int(NSMaxX(part)); ++x) {
                if (![At(x, y) isEqual:other.At(x, y)])
                    return false;
            }
        }
        return true;
    }

private:
    static bool Near(CGFloat component, int expected)
    {
        return std::abs(component * 255 - expected) <= 2;
    }

    NSColor *At(int x, int y) const
    {
        return [[_bitmap colorAtX:x y:y] colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
    }

    NSWindow *_window;
    NSBitmapImageRep *_bitmap;
};

}  // namespace vxtest
