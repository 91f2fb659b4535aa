// The way out when the user may not read a disk or an image: for a disk a button that asks the
// desktop for the right, and for both the command to copy.
//
// Ownership: the interface file makes it; it keeps its outlets and borrows delegate and service.
// Threads: main thread; the question is asked on another.
#pragma once

#import <AppKit/AppKit.h>

#include "HostServices.h"

@class RightRow;

@protocol RightRowDelegate
- (void)rightRow:(RightRow *)row wasAnswered:(const vx::RightAnswer &)answer;
@end

struct RightRowState;

@interface RightRow : NSObject {
    NSView *_askRow;
    NSButton *_askButton;
    NSView *_commandRow;
    NSTextField *_commandCaption;
    NSTextField *_commandField;
    NSButton *_commandButton;
    id<RightRowDelegate> _delegate;
    RightRowState *_state;
}

@property (retain) IBOutlet NSView *askRow;
@property (retain) IBOutlet NSButton *askButton;
@property (retain) IBOutlet NSView *commandRow;
@property (retain) IBOutlet NSTextField *commandCaption;
@property (retain) IBOutlet NSTextField *commandField;
@property (retain) IBOutlet NSButton *commandButton;

- (void)begin:(vx::RightAsking *)rights delegate:(id<RightRowDelegate>)delegate;
- (void)end;

- (void)showPath:(const std::string &)path;
- (void)hide;

- (IBAction)ask:(id)sender;
- (IBAction)copyCommand:(id)sender;

@end
