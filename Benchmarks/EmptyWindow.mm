// The least that a program with a window does, to measure the application's start against: shows
// one empty window and waits for events.
#import <AppKit/AppKit.h>

int main()
{
    @autoreleasepool {
        [NSApplication sharedApplication];
        NSWindow *window = [[NSWindow alloc] initWithContentRect:NSMakeRect(190, 170, 900, 586)
                                                       styleMask:NSTitledWindowMask
                                                         backing:NSBackingStoreBuffered
                                                           defer:NO];
        [window makeKeyAndOrderFront:nil];
        [NSApp run];
        [window release];
    }
    return 0;
}
