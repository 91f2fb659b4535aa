#import "AppDelegate.h"

#include <CoreGraphics/CoreGraphics.h>
#include <dispatch/dispatch.h>

#import "AlertWithText.h"
#import "CBitlockerWrapper.h"
#import "CPipeFileExplorerClientWrapper.h"
#include "ThreadChecks.h"

namespace {

NSString *const kShowAlertSheet = @"ShowAlertSheet";

// The volume that arguments 1 to 3 open, or null.
IVolume *openVolume()
{
    NSArray *arguments = [[NSProcessInfo processInfo] arguments];
    IVolume *volume = nullptr;
    int32_t status = 0;
    CBitlockerWrapper wrapper;
    const bool called = wrapper.openBitlockerDevice(
        [[arguments objectAtIndex:1] UTF8String], [[arguments objectAtIndex:2] UTF8String],
        [[arguments objectAtIndex:3] UTF8String], &volume, &status);
    return called && status == 0 ? volume : nullptr;
}

}  // namespace

@implementation AppDelegate

@synthesize window = _window;
@synthesize FileExplorerView = _FileExplorerView;
@synthesize FileExplorerController = _FileExplorerController;

- (void)dealloc
{
    AssertMainThread();
    [_window release];
    [_FileExplorerView release];
    [_FileExplorerController release];
    [super dealloc];
}

- (void)awakeFromNib
{
    AssertMainThread();
    [[NSNotificationCenter defaultCenter] addObserver:self
                                             selector:@selector(OnShowAlertSheet:)
                                                 name:kShowAlertSheet
                                               object:nil];
    IVolume *volume = openVolume();
    [[_window standardWindowButton:NSWindowZoomButton] setHidden:YES];
    if (volume != nullptr) {
        [_FileExplorerController setVolumeObject:volume];
        [self showExplorer];
    }
    // In front of the host's windows, once; the level falls back when launching has finished.
    [NSApp activateIgnoringOtherApps:YES];
    [_window makeKeyAndOrderFront:self];
    [_window setLevel:CGWindowLevelForKey(kCGStatusWindowLevelKey)];
}

// The window may have been restored with another size, less its decorations.
- (void)showExplorer
{
    AssertMainThread();
    NSView *content = [_window contentView];
    // What says that no volume is open.
    for (NSView *other in [content subviews])
        [other setHidden:YES];
    [_FileExplorerView setFrame:[content bounds]];
    [content addSubview:_FileExplorerView];
}

- (void)applicationDidFinishLaunching:(NSNotification *)notification
{
    AssertMainThread();
    [_window setLevel:CGWindowLevelForKey(kCGNormalWindowLevelKey)];
}

- (void)applicationWillTerminate:(NSNotification *)notification
{
    AssertMainThread();
    CPipeFileExplorerClientWrapper::getInstance()->SendCmd_async(&kExplorerQuitNotice);
}

- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication *)application
{
    AssertMainThread();
    return YES;
}

- (void)OnShowAlertSheet:(NSNotification *)notification
{
    NSDictionary *request = [notification userInfo];
    NSString *title = [request objectForKey:@"title"];
    NSString *text = [request objectForKey:@"text"];
    [self ShowAlertSheet:text withMessageTitle:title];
}

- (void)ShowAlertSheet:(NSString *)text withMessageTitle:(NSString *)title
{
    // Not every blocks runtime retains the objects that a block refers to.
    [text retain];
    [title retain];
    dispatch_async(dispatch_get_main_queue(), ^{
        [AlertWithText(text, title)
            beginSheetModalForWindow:_window
                       modalDelegate:self
                      didEndSelector:@selector(alertSheetDidEnd:returnCode:contextInfo:)
                         contextInfo:nullptr];
        [text release];
        [title release];
    });
}

- (void)alertSheetDidEnd:(NSAlert *)alert returnCode:(NSInteger)code contextInfo:(void *)context
{
    AssertMainThread();
}

@end
