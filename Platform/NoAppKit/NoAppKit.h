// Included ahead of every source of the core library, which knows Foundation and no window.
// A source of the core that reaches for AppKit does not compile.
#ifdef __OBJC__
#import <Foundation/Foundation.h>
#pragma clang poison NSApplication NSApp NSWindow NSView NSCell NSImage
#pragma clang poison NSWorkspace NSAlert NSOpenPanel
#endif
