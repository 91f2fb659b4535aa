// What the sink of an export may also do, if it likes: decide where each file arrives, and hear how
// each file's copy ended. A sink without these operations gets what Z5FileManager.h describes.
//
// Threads: the worker calls every operation on its own thread.
#pragma once

#import <Foundation/Foundation.h>

#include <cstdint>
#include <cstdio>

#import "ExportingUIDelegate.h"
#import "Z5FindData.h"

enum class ExportEnd {
    kCopied,             // to its end; what could not be read is not noticed
    kStopped,            // Continued said NO before its end
    kNoPath,             // its name, or that of a folder on the way, is no text
    kLeavesDestination,  // its path holds ".."
    kNoFolder,           // makeFolderFor: said NO
    kNoMemory,
    kNotOpened,    // the volume did not open it
    kNoLocalFile,  // openFileFor: gave none
    kNotWritten,   // a write failed, or the closing did
};

struct ExportOutcome {
    ExportEnd end = ExportEnd::kCopied;
    int error = 0;       // errno; kNotWritten only
    int64_t size = 0;    // what the open file of the volume said, in bytes
    int64_t copied = 0;  // bytes that were handed over for writing
};

@protocol ExportPlacing <ExportingUIDelegate>

// In place of making the entry's folder; NO skips the entry.
- (BOOL)makeFolderFor:(Z5FindData *)entry;
// In place of opening the local file, once the volume has opened its own. The engine closes what it
// is given; null skips the entry.
- (FILE *)openFileFor:(Z5FindData *)entry;
// The last word about an entry that the worker came to; both files are closed by then. Every entry
// has one, in the order of the plan, but for those that a stop left out.
- (void)entry:(Z5FindData *)entry endedWith:(const ExportOutcome &)outcome;

@end
