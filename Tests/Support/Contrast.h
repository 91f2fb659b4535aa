// How well a colour stands out from another: from 1 to 21; 4.5 is enough for small text.
// Facts: Web Content Accessibility Guidelines 2.1, "contrast ratio" and "relative luminance".
#pragma once

#import <AppKit/AppKit.h>

#include <algorithm>
#include <cmath>

namespace vxtest {

inline double Linear(CGFloat component)
{
    const double value = component;
    return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

inline double Luminance(NSColor *color)
{
    NSColor *rgb = [color colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
    return 0.2126 * Linear([rgb redComponent]) + 0.7152 * Linear([rgb greenComponent]) +
           0.0722 * Linear([rgb blueComponent]);
}

inline double Contrast(NSColor *one, NSColor *other)
{
    const double a = Luminance(one), b = Luminance(other);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

}  // namespace vxtest
