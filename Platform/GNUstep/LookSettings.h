// The settings of the look that are the program's own, and that a user may set in place of what the
// desktop says. Main thread.
#pragma once

#import <Foundation/Foundation.h>

#include <cmath>

namespace vx {

// Whether colours are dark; for the theme in the bundle.
static NSString *const kDarkColorsKey = @"VXDarkColors";
// How much larger than usual text and what it stands in are: 1.5 for half as much again.
static NSString *const kTextScaleKey = @"VXTextScale";

// Between a half and four. Settled by the first call, which comes after the fonts are registered.
inline CGFloat textScale()
{
    static const CGFloat scale = [] {
        const CGFloat wanted = [[NSUserDefaults standardUserDefaults] floatForKey:kTextScaleKey];
        return wanted >= 0.5 && wanted <= 4 ? wanted : CGFloat(1);
    }();
    return scale;
}

// Whole points.
inline CGFloat scaled(CGFloat points)
{
    return std::round(points * textScale());
}

}  // namespace vx
