// Builds and shows what the theme is judged by: the main window's controls, a progress window, an
// alert and the folder panel. Main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface GalleryController : NSObject {
    NSWindow *_window;
    NSOutlineView *_outline;
    NSArray *_rows;
}

// What is shown: "window", "progress", "alert", "panel" or "menu".
- (void)show:(NSString *)what;
@end
