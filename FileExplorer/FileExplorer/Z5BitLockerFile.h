// One open file inside the volume, in 64-bit positions and sizes.
//
// Ownership: owns its volume handle and closes it when deallocated; borrows the volume.
// Threads: one thread at a time; takes no lock.
// Errors: nil, NO or 0. A missing handle and an empty file both have the size 0.
#pragma once

#import <Foundation/Foundation.h>

#include <cstdint>

#include "IVolume.h"

@interface Z5BitLockerFile : NSObject {
    NSString *_strFilePath;
    VolumeHandle _fileHandle;
    IVolume *_volObject;
}

// path: the file's absolute volume path. Returns nil if the path is nil, the volume is null or
// the file does not open.
- (id)initWithFile:(NSString *)path andVol:(IVolume *)volume;

// Opens the file at the path; a handle already held is replaced without being closed.
- (BOOL)openFile:(NSString *)path;

// Moves to a position in bytes from the start; NO unless the volume reports that very position.
- (BOOL)seekFile:(int64_t)position;
// The position in bytes.
- (int64_t)tellg;
// The size in bytes.
- (int64_t)getFileSize;

// YES only if exactly count bytes were transferred; what a short transfer moved stays moved.
// The volume counts in 32 bits, so a count of 2^31 bytes or more never succeeds.
- (BOOL)readFile:(void *)buffer ofsize:(int64_t)count;
- (BOOL)writeFile:(const void *)buffer ofsize:(int64_t)count;

// Closes the handle but does not forget it: the object closes it again when it is deallocated,
// so a caller that releases the object does not call this.
- (void)closeFile;

@end
