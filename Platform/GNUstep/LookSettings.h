// The settings of the look that are the program's own, and that a user may set in place of what the
// desktop says. Main thread.
#pragma once

#import <AppKit/AppKit.h>

#include <algorithm>
#include <cmath>

namespace vx {

// Whether colours are dark; for the theme in the bundle.
static NSString *const kDarkColorsKey = @"VXDarkColors";
// How much larger than usual text and what it stands in are: 1.5 for half as much again.
static NSString *const kTextScaleKey = @"VXTextScale";

// The scale that is wanted, or the largest at which the smallest form of every window still fits
// into a screen of that size; ordinary text is never made smaller for it.
inline CGFloat scaleThatFits(CGFloat wanted, NSSize screen)
{
    // With frame and title.
    constexpr CGFloat kWidestWindow = 820, kHighestWindow = 520;
    const CGFloat largest = std::min(screen.width / kWidestWindow, screen.height / kHighestWindow);
    return std::min(wanted, std::max(largest, CGFloat(1)));
}

// What windows may cover; without limits where there is no screen.
inline NSSize roomOnScreen()
{
    NSScreen *screen = [NSScreen mainScreen];
    return screen != nil ? [screen visibleFrame].size : NSMakeSize(CGFLOAT_MAX, CGFLOAT_MAX);
}

// Between a half and four. Settled by the first call, which comes after the fonts are registered.
inline CGFloat textScale()
{
    static const CGFloat scale = [] {
        const CGFloat wanted = [[NSUserDefaults standardUserDefaults] floatForKey:kTextScaleKey];
        const bool isPossible = wanted >= 0.5 && wanted <= 4;
        return scaleThatFits(isPossible ? wanted : 1, roomOnScreen());
    }();
    return scale;
}

// Whole points.
inline CGFloat scaled(CGFloat points)
{
    return std::round(points * textScale());
}

}  // namespace vx
