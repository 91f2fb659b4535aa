// Optional operations of an export's sink: it decides where each file arrives and is notified how
// each copy ended. Without them the engine places the files as Z5FileManager.h describes.
//
// Threads: the worker calls every operation on its own thread.
#pragma once

#import <Foundation/Foundation.h>

#include <cstdint>
#include <cstdio>

#import "ExportingUIDelegate.h"
#import "Z5FindData.h"

enum class ExportEnd {
    kCopied,             // to its end; unreadable bytes are not reported here
    kStopped,            // Continued said NO before its end
    kNoPath,             // its name, or a folder's on the way, is not valid text
    kLeavesDestination,  // its path holds ".."
    kNoFolder,           // makeFolderFor: returned NO
    kNoMemory,
    kNotOpened,    // the volume did not open it
    kNoLocalFile,  // openFileFor: returned null
    kNotWritten,   // a write failed, or the closing did
};

struct ExportOutcome {
    ExportEnd end = ExportEnd::kCopied;
    int error = 0;       // errno; kNotWritten only
    int64_t size = 0;    // bytes, as reported by the volume's open file
    int64_t copied = 0;  // bytes passed to write
};

@protocol ExportPlacing <ExportingUIDelegate>

// Called instead of making the entry's folder; NO skips the entry.
- (BOOL)makeFolderFor:(Z5FindData *)entry;
// Called instead of opening the local file, after the volume has opened its own. The engine closes
// the result; null skips the entry.
- (FILE *)openFileFor:(Z5FindData *)entry;
// Called last for each entry, after both files are closed, in the order of the plan. Entries that
// the worker did not reach before a stop get no call.
- (void)entry:(Z5FindData *)entry endedWith:(const ExportOutcome &)outcome;

@end
