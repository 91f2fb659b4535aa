// Looks at what a view draws, pixel by pixel. Main thread.
#pragma once

#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

namespace vxtest {

// The view in a window of its own, drawn once. Points are the view's own, from the upper left
// corner.
class Drawing {
public:
    explicit Drawing(NSView *view)
    {
        const NSRect frame = [view frame];
        m_window = [[NSWindow alloc]
            initWithContentRect:NSMakeRect(100, 100, frame.size.width, frame.size.height)
                      styleMask:NSBorderlessWindowMask
                        backing:NSBackingStoreBuffered
                          defer:NO];
        [view setFrameOrigin:NSZeroPoint];
        [[m_window contentView] addSubview:view];
        [m_window makeKeyAndOrderFront:nil];
        [m_window display];
        [[m_window contentView] lockFocus];
        m_bitmap = [[NSBitmapImageRep alloc]
            initWithFocusedViewRect:NSMakeRect(0, 0, frame.size.width, frame.size.height)];
        [[m_window contentView] unlockFocus];
    }

    ~Drawing()
    {
        [m_bitmap release];
        [m_window close];
    }

    Drawing(const Drawing &) = delete;
    Drawing &operator=(const Drawing &) = delete;

    void expectColor(int x, int y, int red, int green, int blue) const
    {
        NSColor *color = [[m_bitmap colorAtX:x
                                           y:y] colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
        EXPECT_NEAR([color redComponent] * 255, red, 2) << "at " << x << ", " << y;
        EXPECT_NEAR([color greenComponent] * 255, green, 2) << "at " << x << ", " << y;
        EXPECT_NEAR([color blueComponent] * 255, blue, 2) << "at " << x << ", " << y;
    }

    // Every pixel is the same.
    bool equals(const Drawing &other) const
    {
        for (int y = 0; y < [m_bitmap pixelsHigh]; ++y)
            for (int x = 0; x < [m_bitmap pixelsWide]; ++x)
                if (![[m_bitmap colorAtX:x y:y] isEqual:[other.m_bitmap colorAtX:x y:y]])
                    return false;
        return true;
    }

    bool isBlueAt(int x, int y) const
    {
        NSColor *color = [[m_bitmap colorAtX:x
                                           y:y] colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
        return [color blueComponent] > [color redComponent] + 0.2;
    }

    // Whether there is a pixel as dark as a text in that line.
    bool isDarkInRow(int y) const
    {
        for (int x = 0; x < [m_bitmap pixelsWide]; ++x)
            if ([[[m_bitmap colorAtX:x y:y] colorUsingColorSpaceName:NSCalibratedRGBColorSpace]
                    greenComponent] < 0.5)
                return true;
        return false;
    }

private:
    NSWindow *m_window;
    NSBitmapImageRep *m_bitmap;
};

}  // namespace vxtest
