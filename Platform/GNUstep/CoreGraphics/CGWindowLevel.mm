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
        // GNUstep's own status level makes a window a dock to window managers, which take its frame
        // and its title away. A floating window stays above the ordinary ones and keeps both.
        return NSFloatingWindowLevel;
    case kCGModalPanelWindowLevelKey:
        return NSModalPanelWindowLevel;
    case kCGPopUpMenuWindowLevelKey:
        return NSPopUpMenuWindowLevel;
    case kCGScreenSaverWindowLevelKey:
        return NSScreenSaverWindowLevel;
    }
    return NSNormalWindowLevel;
}
