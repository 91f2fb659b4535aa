// The way out when the user may not read a disk: a button that asks the desktop for the right, or
// the command to copy.
//
// Ownership: the interface file makes it; it keeps its outlets and borrows target and service.
// Threads: main thread; the question is asked on another.
#pragma once

#import <AppKit/AppKit.h>

#include "HostServices.h"

struct RightRowState;

@interface RightRow : NSObject {
    NSView *_askRow;
    NSButton *_askButton;
    NSView *_commandRow;
    NSTextField *_commandField;
    NSButton *_commandButton;
    id _target;
    SEL _action;
    RightRowState *_state;
}

@property (retain) IBOutlet NSView *askRow;
@property (retain) IBOutlet NSButton *askButton;
@property (retain) IBOutlet NSView *commandRow;
@property (retain) IBOutlet NSTextField *commandField;
@property (retain) IBOutlet NSButton *commandButton;

// action: takes an NSString, nil if the right was given, otherwise why not.
- (void)begin:(vx::RightAsking *)rights target:(id)target action:(SEL)action;
- (void)end;

- (void)showDevice:(const std::string &)device;
- (void)hide;

- (IBAction)ask:(id)sender;
- (IBAction)copyCommand:(id)sender;

@end
