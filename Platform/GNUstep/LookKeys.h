// The settings of the look that are the program's own, and that a user may set in place of what the
// desktop says.
#pragma once

#import <Foundation/Foundation.h>

namespace vx {

// Whether colours are dark; for the theme in the bundle.
static NSString *const kDarkColorsKey = @"VXDarkColors";
// How much larger than usual text and what it stands in are.
static NSString *const kTextScaleKey = @"VXTextScale";

}  // namespace vx
