// The application object under GNUstep, named as the principal class in the bundle's
// Info-gnustep.plist. It gives the application loop what the sources rely on under macOS: the
// look's settings before anything is drawn, modal sessions that end at once and with the last code
// given, and command-line arguments that are left to the program. Main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface VXApplication : NSApplication {
    // The code of the last stop of the innermost session; valid while _stopped is set.
    NSInteger _stopCode;
    BOOL _stopped;
}
@end
