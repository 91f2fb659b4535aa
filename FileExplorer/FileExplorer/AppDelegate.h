// The application's delegate: opens the volume that the command line names, puts the explorer's
// view into the main window, shows alert sheets on request and notifies the host when the explorer
// ends.
//
// To show an alert sheet, post "ShowAlertSheet" to the default notification centre, with the texts
// "title" and "text" in the user information, on any thread.
// Ownership: made by the main interface file; keeps its outlets; lives as long as the process.
// Threads: main thread, except for the two operations that ask for a sheet.
// Errors: a volume that does not open leaves the window as the interface file made it, silently.
#pragma once

#import <AppKit/AppKit.h>

#import "Z5FileExplorer.h"

@interface AppDelegate : NSObject <NSApplicationDelegate> {
    NSWindow *_window;
    NSView *_FileExplorerView;
    Z5FileExplorer *_FileExplorerController;
}

@property (retain) IBOutlet NSWindow *window;
@property (retain) IBOutlet NSView *FileExplorerView;
@property (retain) IBOutlet Z5FileExplorer *FileExplorerController;

// The observer of "ShowAlertSheet". Any thread.
- (void)OnShowAlertSheet:(NSNotification *)notification;

// Returns at once; the main thread shows the sheet later. A "%" in the text is read
// as a format directive. Any thread.
- (void)ShowAlertSheet:(NSString *)text withMessageTitle:(NSString *)title;

- (void)alertSheetDidEnd:(NSAlert *)alert returnCode:(NSInteger)code contextInfo:(void *)context;

@end
