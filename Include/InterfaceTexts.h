// Puts the titles, labels, tool tips and accessibility descriptions of an interface file into the
// user's language.
//
// The interface file makes one of these and connects what it is to translate. The English text
// is the key into the application's strings table; a text without an entry stays as it is.
// Column titles are left alone: the tree knows its columns by them.
// Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface InterfaceTexts : NSObject {
    NSMenu *_menu;
    NSWindow *_window;
    NSView *_view;
}

@property (retain) IBOutlet NSMenu *menu;      // with its submenus; may be nil
@property (retain) IBOutlet NSWindow *window;  // its title; may be nil
@property (retain) IBOutlet NSView *view;      // with its subviews; may be nil

@end
