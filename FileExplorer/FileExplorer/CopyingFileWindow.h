// The window that an export shows while it copies: the file being copied, a bar, the sizes with
// an estimate of the time left, and a button that cancels.
//
// It runs as the application's modal window. Whatever closes it (more than 99 percent, the
// button, anything else) ends that session with _nRtnCode, which is 0. Files that cannot be
// copied keep the percent below 100: the window then stays until the user cancels.
// Ownership: made by the export command, kept by the command and by the engine that reports to
// it; released on the main thread only.
// Threads: the worker calls the operations of ExportingUIDelegate; what they show is applied on
// the main thread while the worker waits. So the numbers that the worker stores are read by the
// main thread only while the worker stands still, and need no lock; the two flags that either
// thread may use at any time are atomics.
// Units: whole percent, MiB, seconds, characters in UTF-16 units.
#pragma once

#import <AppKit/AppKit.h>

#include <atomic>
#include <cstdint>

#import "ExportingUIDelegate.h"

@interface CopyingFileWindow : NSWindowController <ExportingUIDelegate, NSWindowDelegate> {
    std::atomic<bool> _bContinued;
    NSTextField *_fileInfoLable;
    NSProgressIndicator *_progressBar;
    NSImageView *_fileImage;
    NSTextField *_copyInfoLabel;
    NSString *_strCurrentFile;
    NSNumber *_iCurrentPercent;
    int64_t _startTime;
    NSNumber *_totalSize;
    std::atomic<int32_t> _state;
    int64_t _nRtnCode;
}

@property (retain) IBOutlet NSTextField *fileInfoLable;
@property (retain) IBOutlet NSProgressIndicator *progressBar;
@property (retain) IBOutlet NSImageView *fileImage;
@property (retain) IBOutlet NSTextField *infoLabel;

// With the interface file "copyingFileWindow", which is loaded when the window is first asked for.
- (id)init;

// The button's action: the worker stops at its next check, the window closes at once.
- (IBAction)cancelClicked:(id)sender;

// On the main thread: names the file with this volume path and restarts its clock. Ignores nil,
// an empty text and the path that is shown already.
- (void)updateInfoOnMain:(NSString *)path;

// On the main thread: shows the last percent, the sizes and the estimate; above 99 percent, or
// once cancelled, ends the session and closes the window. The argument is not used.
- (void)updateProgressOnMain:(id)unused;

@end
