// The right half of the window: what the chosen volume is, what opens it, the fields for the
// secret, and why it stays shut.
//
// Ownership: the interface file makes it; it keeps its outlets and borrows its delegate and the
// services. Threads: main thread; facts are read on another.
#pragma once

#import <AppKit/AppKit.h>

#include "HostServices.h"
#import "RightRow.h"
#import "SecretFields.h"
#import "StackedView.h"

@class VolumePane;

@protocol VolumePaneDelegate
// address: what to open; kind: how it is unlocked. The secret is the pane's and wiped afterwards.
- (void)volumePane:(VolumePane *)pane
            unlock:(const std::string &)address
              kind:(const std::string &)kind
            secret:(vx::TypedSecret *)secret;
- (void)volumePaneDidCancel:(VolumePane *)pane;
@end

struct VolumePaneState;

@interface VolumePane : NSObject <RightRowDelegate, SecretFieldsDelegate> {
    NSImageView *_iconView;
    NSTextField *_titleLabel;
    NSTextField *_pathLabel;
    StackedView *_stack;
    NSTextField *_factsLabel;
    NSView *_volumeRow;
    NSPopUpButton *_volumePopUp;
    NSView *_kindRow;
    NSPopUpButton *_kindPopUp;
    SecretFields *_fields;
    NSTextField *_messageLabel;
    NSTextField *_detailLabel;
    RightRow *_rightRow;
    NSProgressIndicator *_progressBar;
    NSTextField *_statusLabel;
    NSButton *_cancelButton;
    NSButton *_unlockButton;
    id<VolumePaneDelegate> _delegate;
    VolumePaneState *_state;
}

@property (retain) IBOutlet NSImageView *iconView;
@property (retain) IBOutlet NSTextField *titleLabel;
@property (retain) IBOutlet NSTextField *pathLabel;
@property (retain) IBOutlet StackedView *stack;
@property (retain) IBOutlet NSTextField *factsLabel;
@property (retain) IBOutlet NSView *volumeRow;
@property (retain) IBOutlet NSPopUpButton *volumePopUp;
@property (retain) IBOutlet NSView *kindRow;
@property (retain) IBOutlet NSPopUpButton *kindPopUp;
@property (retain) IBOutlet SecretFields *fields;
@property (retain) IBOutlet NSTextField *messageLabel;
@property (retain) IBOutlet NSTextField *detailLabel;
@property (retain) IBOutlet RightRow *rightRow;
@property (retain) IBOutlet NSProgressIndicator *progressBar;
@property (retain) IBOutlet NSTextField *statusLabel;
@property (retain) IBOutlet NSButton *cancelButton;
@property (retain) IBOutlet NSButton *unlockButton;
@property (assign) id<VolumePaneDelegate> delegate;

- (void)begin:(vx::HostServices *)services;
- (void)end;
// Whether a thread reads a volume. It may go on for a while after the end.
- (BOOL)isReading;

// Reads what is there and offers what opens it.
- (void)showPath:(const std::string &)path;
// Nothing is chosen; the message may be empty.
- (void)showNothing:(NSString *)message;

// A session has begun, is on its way, was refused, or has ended.
- (void)showTrial;
- (void)showProgress:(const vx::ChannelProgress &)progress;
- (void)showRefusal:(const vx::TrialResult &)result;
// message: nil if all is said.
- (void)showEnd:(NSString *)message detail:(const std::string &)detail;

// A sentence in the user's language, and what the library says about it, in English; either may be
// empty.
- (void)say:(NSString *)sentence detail:(const std::string &)detail;
// Below what is said already.
- (void)add:(NSString *)sentence detail:(const std::string &)detail;

- (IBAction)chooseVolume:(id)sender;
- (IBAction)chooseKind:(id)sender;
- (IBAction)unlock:(id)sender;
- (IBAction)cancel:(id)sender;

@end
