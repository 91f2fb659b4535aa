#import "Z5FileExplorer+Export.h"

#include <CoreFoundation/CoreFoundation.h>

#include <unistd.h>

#import "CopyingFileWindow.h"
#include "ThreadChecks.h"
#import "Z5FileManager.h"

namespace {

constexpr CGFloat kPanelHeight = 500.0;
// What the panel's handler receives when the user confirms.
constexpr NSInteger kPanelConfirmed = 1;

// The panel's choice as a POSIX path, nil if there is none.
NSString *chosenFolder(NSOpenPanel *panel)
{
    NSArray *urls = [panel URLs];
    if ([urls count] == 0)
        return nil;
    const CFURLRef url = (CFURLRef)[urls objectAtIndex:0];
    return [(NSString *)CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle) autorelease];
}

bool mayWrite(NSString *folder)
{
    return folder != nil && access([folder UTF8String], W_OK) == 0;
}

void refuseFolder()
{
    NSAlert *alert =
        [NSAlert alertWithMessageText:@"No access right."
                        defaultButton:@"Yes"
                      alternateButton:nil
                          otherButton:nil
            informativeTextWithFormat:@"Can't access this location, please select another."];
    [alert setIcon:[NSImage imageNamed:@"warning"]];
    [alert runModal];
}

void exportTo(NSString *folder, Z5FileManager *engine, CopyingFileWindow *progress)
{
    NSWindow *window = [progress window];
    [window center];
    [engine copyTo:folder withDelegate:progress];
    const NSInteger code = [NSApp runModalForWindow:window];
    [NSApp activateIgnoringOtherApps:YES];
    if (code == 0)
        [[NSWorkspace sharedWorkspace] openURL:[NSURL fileURLWithPath:folder isDirectory:YES]];
}

}  // namespace

@implementation Z5FileExplorer (Export)

- (void)setUpFolderPanel:(NSOpenPanel *)panel
{
    [panel setDelegate:(id)self];
    [panel setAllowsMultipleSelection:NO];
    [panel setCanChooseDirectories:YES];
    [panel setCanChooseFiles:NO];
    [panel setResolvesAliases:YES];
}

- (IBAction)onClickedExport:(id)sender
{
    AssertMainThread();
    NSOpenPanel *panel = [NSOpenPanel openPanel];
    [self setUpFolderPanel:panel];
    // The engine plans the selection as it is at the click.
    CopyingFileWindow *progress = [[[CopyingFileWindow alloc] init] autorelease];
    Z5FileManager *engine =
        [[[Z5FileManager alloc] initWithSourceFiles:_selectedFiles
                                        andExplorer:_explorerWapper] autorelease];
    // A second panel is kept and never shown.
    [_openPanel release];
    _openPanel = [[NSOpenPanel openPanel] retain];
    [self setUpFolderPanel:_openPanel];

    NSRect frame = [panel frame];
    frame.size.height = kPanelHeight;
    [panel setFrame:frame display:YES animate:YES];
    [panel setPrompt:@"Save"];
    [panel beginSheetModalForWindow:[[self view] window]
                  completionHandler:^(NSInteger result) {
                      [self panel:panel endedWith:result engine:engine progress:progress];
                  }];
}

- (void)panel:(NSOpenPanel *)panel
    endedWith:(NSInteger)result
       engine:(Z5FileManager *)engine
     progress:(CopyingFileWindow *)progress
{
    AssertMainThread();
    [panel orderOut:self];
    if (result != kPanelConfirmed)
        return;
    NSString *folder = chosenFolder(panel);
    if (mayWrite(folder))
        exportTo(folder, engine, progress);
    else
        refuseFolder();
}

@end
