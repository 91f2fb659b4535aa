// The colour of texts that report what is wrong: dark red on a light background, light red on a
// dark one, readable on either. Main thread.
#pragma once

#import <AppKit/AppKit.h>

namespace vx {

// On the window's background.
NSColor *WarningColor();

}  // namespace vx
