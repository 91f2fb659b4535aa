// The sink of an export: what the copy worker reports, and what it asks.
//
// Threads: the worker calls every operation on its own thread and continues only when the operation
// has returned, so a sink that shows something hands it to the main thread and waits.
// SetState: may be called on any thread; the worker never calls it.
#pragma once

#import <Foundation/Foundation.h>

#include <cstdint>

// Bytes that the worker copies between two reports, and the size of its buffer.
constexpr int64_t kExportChunkSize = 4194304;

// The run states of GetState and SetState:.
enum : int32_t {
    kExportStateRunning = 1,
    kExportStateStop = 2,  // the worker stops before it copies the next file
};

@protocol ExportingUIDelegate <NSObject>

// percent: an int, the whole percent copied of the whole export; it can pass 100 when the
// volume's files are larger than the catalogue reported.
- (void)UpdateProgress:(NSNumber *)percent;
// path: the volume path of the file that is copied next.
- (void)UpdateInformation:(NSString *)path;
// total: a double, the size of the whole export in MiB; the same number before every file.
- (void)UpdateTotalSize:(NSNumber *)total;
// NO once the user has cancelled; asked before every file and before every chunk.
- (BOOL)Continued;
- (int32_t)GetState;
- (void)SetState:(int32_t)state;

@end
