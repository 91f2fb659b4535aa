// The fields of a secret: the password, hidden or shown, the 48 digits of a recovery key, and the
// path of a key file. One kind is on view at a time.
//
// Ownership: the interface file makes it; it keeps its outlets and borrows its delegate.
// Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

#include "TypedSecret.h"
#include "UnlockChoices.h"

@class SecretFields;

@protocol SecretFieldsDelegate
// Something was typed or chosen, or the hint is another one.
- (void)secretFieldsDidChange:(SecretFields *)fields;
@end

@interface SecretFields : NSObject {
    NSView *_passwordRow;
    NSSecureTextField *_hiddenField;
    NSTextField *_shownField;
    NSButton *_showButton;
    NSView *_recoveryRow;
    NSTextField *_digitsField;
    NSView *_fileRow;
    NSTextField *_fileField;
    NSButton *_chooseButton;
    NSTextField *_hintLabel;
    id<SecretFieldsDelegate> _delegate;
    vx::UnlockChoice *_choice;
}

@property (retain) IBOutlet NSView *passwordRow;
@property (retain) IBOutlet NSSecureTextField *hiddenField;
@property (retain) IBOutlet NSTextField *shownField;
@property (retain) IBOutlet NSButton *showButton;
@property (retain) IBOutlet NSView *recoveryRow;
@property (retain) IBOutlet NSTextField *digitsField;
@property (retain) IBOutlet NSView *fileRow;
@property (retain) IBOutlet NSTextField *fileField;
@property (retain) IBOutlet NSButton *chooseButton;
@property (retain) IBOutlet NSTextField *hintLabel;  // identifiers, and what is mistyped
@property (assign) id<SecretFieldsDelegate> delegate;

// Shows the fields of this kind, empty.
- (void)showChoice:(const vx::UnlockChoice &)choice;
- (void)hide;
- (void)setEnabled:(BOOL)enabled;
// Overwrites nothing: what the window library keeps of a text is its own.
- (void)empty;

// There is enough for a try.
- (BOOL)hasSecret;
// False if it is too long to be one.
- (BOOL)copySecretTo:(vx::TypedSecret *)secret;
// The keyboard goes to the field, whose text is selected.
- (void)selectText;

- (IBAction)toggleShown:(id)sender;
- (IBAction)chooseFile:(id)sender;

@end
