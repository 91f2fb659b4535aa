// What the library's panel for files and folders lacks: places at the left, a switch for what is
// hidden, and a button that makes a folder.
//
// Ownership: the panel owns the views; this object owns their list and lives as long as the panel,
// of which there is one. Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface PanelParts : NSObject {
    NSOpenPanel *_panel;  // not retained
    NSArray *_places;     // of arrays: title, path
    NSTableView *_table;
    NSButton *_hidden;
    NSButton *_newFolder;
}

// Adds the views to the panel and makes room for them.
- (id)initWithPanel:(NSOpenPanel *)panel;

// Reads the places anew, and offers new folders or not.
- (void)showWithNewFolders:(BOOL)offered;

@end

@interface NSOpenPanel (Folders)
// Shows the contents of a folder, which confirming then chooses.
- (void)showFolder:(NSString *)path;
@end
