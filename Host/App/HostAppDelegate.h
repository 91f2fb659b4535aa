// The delegate of Volume Host: puts list, pane and session together, hides the window while the
// explorer runs, and shows afterwards what could not be read.
//
// Ownership: made by the main interface file; keeps its outlets and owns the services. Threads:
// main thread only.
#pragma once

#import <AppKit/AppKit.h>

#include "HostServices.h"
#import "SourceList.h"
#include "UnlockSession.h"
#import "VolumePane.h"

@class DamageWindow;

struct HostAppState;

@interface HostAppDelegate : NSObject <NSApplicationDelegate, SourceListDelegate,
                                       UnlockSessionDelegate, VolumePaneDelegate> {
    NSWindow *_window;
    SourceList *_sourceList;
    VolumePane *_volumePane;
    NSButton *_openButton;
    DamageWindow *_damageWindow;
    HostAppState *_state;
}

@property (retain) IBOutlet NSWindow *window;
@property (retain) IBOutlet SourceList *sourceList;
@property (retain) IBOutlet VolumePane *volumePane;
@property (retain) IBOutlet NSButton *openButton;
@property (readonly) DamageWindow *damageWindow;  // nil before the first list

// How the services are made when the application has launched. Without it, whoever loads the
// interface file begins.
+ (void)setServicesMaker:(vx::HostServices (*)())makeServices;
// What it opens then, as the system has the path: bytes that need not be UTF-8.
+ (void)setImage:(const std::string &)path;

// Shows the window. The services become the delegate's; they stay until it goes.
- (void)beginWith:(vx::HostServices &&)services;
// No work of another thread reaches the window after this.
- (void)end;

- (void)openPath:(NSString *)path;

- (IBAction)openImage:(id)sender;
- (IBAction)showHelp:(id)sender;

@end
