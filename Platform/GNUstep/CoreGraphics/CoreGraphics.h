// The window levels of Core Graphics, those that the program uses, for GNUstep, which has
// none of it. CGWindowLevelForKey answers with GNUstep's own level of that name (what setLevel:
// takes), for the status level with another one above the ordinary and the floating windows; a key
// that is not listed gives the normal level. Any thread.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int32_t CGWindowLevel;

// The numbers are the keys' own on macOS.
typedef enum CGWindowLevelKey {
    kCGNormalWindowLevelKey = 4,
    kCGFloatingWindowLevelKey = 5,
    kCGTornOffMenuWindowLevelKey = 6,
    kCGMainMenuWindowLevelKey = 8,
    kCGStatusWindowLevelKey = 9,
    kCGModalPanelWindowLevelKey = 10,
    kCGPopUpMenuWindowLevelKey = 11,
    kCGScreenSaverWindowLevelKey = 13
} CGWindowLevelKey;

CGWindowLevel CGWindowLevelForKey(CGWindowLevelKey key);

#ifdef __cplusplus
}
#endif
