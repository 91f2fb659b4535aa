// Must not compile as a source of the core.
#import <AppKit/AppKit.h>
