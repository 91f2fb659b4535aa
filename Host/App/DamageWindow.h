// The window with the list of what a session could not read in full; it can be saved.
//
// Ownership: whoever makes it; the list is copied. Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

#include "DamageList.h"

@interface DamageWindow : NSWindowController {
    NSTextField *_titleLabel;
    NSTextField *_remarkLabel;
    NSTableView *_tableView;
    NSButton *_saveButton;
    vx::DamageList *_list;
    std::string *_volume;
}

@property (retain) IBOutlet NSTextField *titleLabel;
@property (retain) IBOutlet NSTextField *remarkLabel;
@property (retain) IBOutlet NSTableView *tableView;
@property (retain) IBOutlet NSButton *saveButton;

- (void)showList:(const vx::DamageList &)list ofVolume:(const std::string &)volume;

- (IBAction)save:(id)sender;
// Whole or not at all; an alert if it cannot be written.
- (BOOL)saveTo:(NSString *)path;

@end
