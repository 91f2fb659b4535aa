// The line under a tree: how many rows are selected, and how large the files among them are. Empty
// while none is selected.
//
// The interface file makes it and connects the tree, whose items are the catalogue's entries.
// Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface SelectionLine : NSTextField {
    NSOutlineView *_tree;
}

@property (retain) IBOutlet NSOutlineView *tree;

@end

// In the user's language: "3 items, 12.3 MB". Folders count as items; the sizes are those of the
// files, in the tree's units, and are left out if there are only folders. Empty for no entries.
NSString *selectionText(NSArray *entries);
