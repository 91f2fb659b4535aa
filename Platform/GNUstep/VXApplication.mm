#import "VXApplication.h"

#include "FolderOpening.h"
#include "ImageResources.h"
#include "RegisteredDefaults.h"

@interface NSApplication (OpenFiles)
- (NSArray *)_openFiles;
@end

namespace {

// A click with the command key takes one row more or less on macOS; the library's tables ask for
// Control.
NSEvent *withControlForCommand(NSEvent *event)
{
    const NSUInteger modifiers = [event modifierFlags];
    if ([event type] != NSLeftMouseDown || (modifiers & NSCommandKeyMask) == 0)
        return event;
    return [NSEvent mouseEventWithType:NSLeftMouseDown
                              location:[event locationInWindow]
                         modifierFlags:modifiers | NSControlKeyMask
                             timestamp:[event timestamp]
                          windowNumber:[event windowNumber]
                               context:[event context]
                           eventNumber:[event eventNumber]
                            clickCount:[event clickCount]
                              pressure:[event pressure]];
}

}  // namespace

@implementation VXApplication

+ (void)initialize
{
    if (self == [VXApplication class])
        vx::registerLook();
}

- (id)init
{
    self = [super init];
    if (self == nil)
        return nil;
    vx::registerFonts();
    vx::installFolderOpening();
    for (NSString *name in @[ @"folder", @"warning", @"success" ])
        vx::addDoubleSize(name);
    return self;
}

- (void)sendEvent:(NSEvent *)event
{
    [super sendEvent:withControlForCommand(event)];
}

// The library would hand every argument that does not begin with "-" to the delegate as a document
// and complain in an alert when the delegate has no use for it.
- (NSArray *)_openFiles
{
    return nil;
}

// The library keeps the first code of a session, where macOS keeps the last; and it looks at a
// stopped session only after the next event, which may never come when no event was the reason to
// stop.
- (void)stopModalWithCode:(NSInteger)code
{
    [super stopModalWithCode:code];
    if ([self modalWindow] == nil)
        return;
    _stopCode = code;
    _stopped = YES;
    [self postEmptyEvent];
}

- (void)postEmptyEvent
{
    NSEvent *event = [NSEvent otherEventWithType:NSApplicationDefined
                                        location:NSZeroPoint
                                   modifierFlags:0
                                       timestamp:0
                                    windowNumber:0
                                         context:nil
                                         subtype:0
                                           data1:0
                                           data2:0];
    [self postEvent:event atStart:NO];
}

- (NSInteger)runModalForWindow:(NSWindow *)window
{
    // A stop that no session has taken belongs to none.
    _stopped = NO;
    const NSInteger code = [super runModalForWindow:window];
    const BOOL stopped = _stopped && code != NSRunAbortedResponse;
    _stopped = NO;
    return stopped ? _stopCode : code;
}

@end
