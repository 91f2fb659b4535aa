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
        return NSStatusWindowLevel;
    case kCGModalPanelWindowLevelKey:
        return NSModalPanelWindowLevel;
    case kCGPopUpMenuWindowLevelKey:
        return NSPopUpMenuWindowLevel;
    case kCGScreenSaverWindowLevelKey:
        return NSScreenSaverWindowLevel;
    }
    return NSNormalWindowLevel;
}
