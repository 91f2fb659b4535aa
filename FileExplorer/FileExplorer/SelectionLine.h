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

// In the user's language: "3 items, 12.3 MB", in the tree's units. What is inside a folder is not
// known here: with folders among the entries the text says how many files the size is of, "3 items,
// 12.3 MB in 2 files", and without a file there is no size. Empty for no entries.
NSString *selectionText(NSArray *entries);
