// The controller of the explorer's view: shows the volume as a tree, keeps the selection, and
// exports it.
//
// The tree's items are the catalogue's entries. A folder is read from the volume when it is first
// expanded; nothing is sorted, filtered or refreshed. Columns are recognised by the titles of
// their headers, which therefore stay as they are in every language.
// Ownership: the interface file makes it; it keeps its outlets, the catalogue and the selection,
// and borrows the volume.
// Threads: main thread only. A folder's first listing blocks it.
// Errors: silent; what cannot be listed has no children, a missing text is an empty cell.
#pragma once

#import <AppKit/AppKit.h>

#include "IVolume.h"
#import "Z5FileExplorerWapper.h"

@interface Z5FileExplorer : NSViewController {
    NSOutlineView *_outlineView;
    NSProgressIndicator *_progressBar;
    NSTextField *_fileLable;
    NSButton *_btnExport;
    char szDummy[2048];  // reserved
    Z5FileExplorerWapper *_explorerWapper;
    char szDummy2[2048];  // reserved
    BOOL _bFinishedInit;
    NSMutableArray *_selectedFiles;  // Z5FindData, in ascending row order
    NSOpenPanel *_openPanel;
}

@property (retain) IBOutlet NSOutlineView *outlineView;
@property (retain) IBOutlet NSProgressIndicator *progressBar;
@property (retain) IBOutlet NSTextField *fileLable;
@property (retain) IBOutlet NSButton *btnExport;

- (id)init;
- (id)initWithNibName:(NSString *)name bundle:(NSBundle *)bundle;

// Lists the volume's root; NO if that cannot be done. Does not reload the tree: it is called
// before the view is first shown.
- (BOOL)setVolumeObject:(IVolume *)volume;

// Sets the tree and the controls up, once; always YES.
- (BOOL)finishInitialize;

@end
