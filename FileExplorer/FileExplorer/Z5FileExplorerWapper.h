// The catalogue's access to the opened volume: lists folders into entries, each folder once,
// and turns entries into volume paths.
//
// Ownership: owns the root folder's entries; borrows the volume.
// Threads: the initialiser and findFiles: on the main thread; the class's path operations and
// getVolObject on any thread.
// Paths: "/" followed by a name for each level: /Reports/2019/summary.txt
#pragma once

#import <Foundation/Foundation.h>

#include "IVolume.h"
#import "Z5FindData.h"

@interface Z5FileExplorerWapper : NSObject {
    NSMutableArray *_fileData;
    IVolume *_volumeObject;
}

// Lists the root folder. Returns nil if the volume is null or its root cannot be listed.
- (id)initWithVolumeObject:(IVolume *)volume;

// The root folder's entries, in the volume's order.
- (NSArray *)rootDirectory;

// The children of a folder in the volume's order, nil if it cannot be listed. The first list
// is kept in the entry, so that a folder is read from the volume only once; a failure is not
// kept. A nil entry lists the root from the volume on every call.
- (NSMutableArray *)findFiles:(Z5FindData *)entry;

- (IVolume *)getVolObject;

// An entry b in the folder A: "/A/b", with the filter "*": "/A/b/*". Returns nil for a nil
// entry, or if a name on the way is nil.
+ (NSString *)fullPath:(Z5FindData *)entry withfilter:(NSString *)filter;

// An entry b in the folder A: "/A". An empty text for a nil entry or one of the root folder.
+ (NSString *)parentPath:(Z5FindData *)entry;

@end
