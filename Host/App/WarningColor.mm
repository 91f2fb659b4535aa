#import "WarningColor.h"

#include "ThreadChecks.h"

namespace vx {

NSColor *WarningColor()
{
    AssertMainThread();
    NSColor *background =
        [[NSColor windowBackgroundColor] colorUsingColorSpaceName:NSCalibratedWhiteColorSpace];
    const bool isDark = background != nil && [background whiteComponent] < 0.5;
    return isDark ? [NSColor colorWithCalibratedRed:1.0 green:0.48 blue:0.45 alpha:1]
                  : [NSColor colorWithCalibratedRed:0.7 green:0.08 blue:0.08 alpha:1];
}

}  // namespace vx
