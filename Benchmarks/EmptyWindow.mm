// The least that a program with a window does, to measure the application's start against: shows
// one empty window and ends.
#import <AppKit/AppKit.h>

int main()
{
    @autoreleasepool {
        [NSApplication sharedApplication];
        [NSApp finishLaunching];
        NSWindow *window = [[NSWindow alloc] initWithContentRect:NSMakeRect(190, 170, 900, 586)
                                                       styleMask:NSTitledWindowMask
                                                         backing:NSBackingStoreBuffered
                                                           defer:NO];
        [window makeKeyAndOrderFront:nil];
        [window display];
        [window release];
    }
    return 0;
}
