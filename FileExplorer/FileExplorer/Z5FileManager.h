// The export engine, one object per export: expands a selection into a flat list of files when
// it is made, and copies them on a worker thread to a given folder.
//
// Destinations mirror the volume: /a/b/c.txt exported into /x becomes /x/a/b/c.txt, with every
// backslash of the volume path read as "/". Existing files are overwritten (LocalFileOpening.h says
// which are not); dates and attributes are not carried over.
// Ownership: keeps the catalogue, the planned entries and the sink; the worker thread keeps the
// engine until it ends.
// Threads: made and started on the main thread; operations marked so below run on the worker.
// Errors: silent. A file that fails leaves a gap in the progress and stops nothing.
#pragma once

#import <Foundation/Foundation.h>

#include <cstdint>

#import "ExportingUIDelegate.h"
#import "Z5FileExplorerWapper.h"

@interface Z5FileManager : NSObject {
    Z5FileExplorerWapper *_fileExplorerWapper;
    id<ExportingUIDelegate> _uiDelegate;
    NSArray *_sourceFiles;
    NSThread *_threadCopyFile;
    int64_t _nTotalCopySize;
    int64_t _nCopiedSize;
    unsigned char *_innerBuffer;
}

// selection: Z5FindData entries, in copy order. Reads folders that were not listed before.
// Returns nil if an argument is nil or the selection expands to no file.
- (id)initWithSourceFiles:(NSArray *)selection andExplorer:(Z5FileExplorerWapper *)explorer;

// The files below the entries, depth first, each folder replaced in place by its files; adds
// their catalogue sizes in bytes to *size. Returns nil for no entries, and otherwise an array,
// possibly empty. Folders named "", "." or ".." are not entered.
- (NSMutableArray *)getAllFiles:(NSArray *)entries withSize:(int64_t *)size;

// Makes the folder at root followed by folder, with the folders on the way. YES if anything
// exists there afterwards, a plain file included.
+ (BOOL)makeDirectory:(NSString *)root withSource:(NSString *)folder;

// Starts the worker thread and returns at once; YES if it was started. destination: a local
// path without a "/" at the end. The end of the export is not announced.
- (BOOL)copyTo:(NSString *)destination withDelegate:(id<ExportingUIDelegate>)delegate;

// On the worker thread: copies the planned files in order. NO only for a nil destination.
- (BOOL)copyToInThread:(NSString *)destination;

// On the worker thread: copies one file in chunks of 4 MiB. NO if it or the local file could
// not be opened; YES also when it was cancelled half-way. A failed read or write is not reported.
- (BOOL)copyOneFile:(Z5FindData *)entry withDest:(NSString *)destination;

// On the worker thread: counts bytes just written and reports the percent of the whole.
- (void)updateProgress:(int64_t)bytes;

@end
