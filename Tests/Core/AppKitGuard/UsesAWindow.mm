// Must not compile as a source of the core, not even with the class declared by hand.
#import <Foundation/Foundation.h>

@class NSWindow;

void Close(NSWindow *window);
