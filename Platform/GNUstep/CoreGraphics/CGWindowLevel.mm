#include "CoreGraphics.h"

#import <AppKit/AppKit.h>

CGWindowLevel CGWindowLevelForKey(CGWindowLevelKey key)
{
    switch (key) {
    case kCGNormalWindowLevelKey:
        return NSNormalWindowLevel;
    case kCGFloatingWindowLevelKey:
        return NSFloatingWindowLevel;
    case kCGTornOffMenuWindowLevelKey:
        return NSTornOffMenuWindowLevel;
    case kCGMainMenuWindowLevelKey:
        return NSMainMenuWindowLevel;
    case kCGStatusWindowLevelKey:
        // GNUstep derives from its own levels what kind of window it reports to window managers: a
        // dock by the status level, a tool by the floating one. They may ask only when the window
        // appears, and keep it above its own panels for good. A level without a name, below the
        // menus, leaves it an ordinary window.
        return NSMainMenuWindowLevel - 1;
    case kCGModalPanelWindowLevelKey:
        return NSModalPanelWindowLevel;
    case kCGPopUpMenuWindowLevelKey:
        return NSPopUpMenuWindowLevel;
    case kCGScreenSaverWindowLevelKey:
        return NSScreenSaverWindowLevel;
    }
    return NSNormalWindowLevel;
}
