// One file or folder of the catalogue: the texts that the tree shows, the size, the parent and,
// once the folder was listed, the children.
//
// Ownership: a folder owns its children and every child its parent, so the tree is never freed;
// the catalogue lives as long as the process.
// Threads: made on the main thread, read on any. An entry is a snapshot of its record and is
// not updated again, but for the children, which it gains once. What a property hands out stays
// usable for its caller, whatever the entry is given afterwards.
#pragma once

#import <Foundation/Foundation.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "IVolume.h"

@interface Z5FindData : NSObject {
    int64_t _nFileSize;
    BOOL _bDirectory;
    NSString *_strFileName;
    NSString *_strModifiedDateTime;
    NSString *_strFileSize;
    Z5FindData *_parent;
    NSMutableArray *_subFileData;
}

// The name as the volume reports it; nil if the record's name is no valid UTF-16.
@property (atomic, retain) NSString *strFileName;
// The last write time in the user's locale and time zone: "March 5, 2024 at 9:07 AM"
@property (atomic, retain) NSString *strModifiedDateTime;
// "1.50 KB"; set by setFileSize:.
@property (atomic, retain, readonly) NSString *strFileSize;
// In bytes; negative if the volume reports a size of 2^63 bytes or more.
@property (readonly) int64_t nFileSize;
@property BOOL bDirectory;
// The enclosing folder; nil for an entry of the root folder.
@property (atomic, retain, readonly) Z5FindData *parentNode;
// The children in the volume's order; nil until the folder was listed, empty if it is empty.
@property (atomic, retain) NSMutableArray *subFileData;

// Takes a size in bytes and makes its text: binary units, labelled "GB", "MB", "KB" and "byte".
// 1023 → "1023 byte", 1536 → "1.50 KB", 123456789 → "117.74 MB"
- (void)setFileSize:(int64_t)size;

// Returns nil for a null record.
- (id)initWithFindData:(const VolumeFindData *)record;

// Setting an entry as its own parent changes nothing.
- (void)setParentNode:(Z5FindData *)parent;

// The names from this entry up to the root's child, borrowed from the entries; nil for an entry
// without a name. Nothing is retained on the way, which deep folders make worth it.
- (std::vector<NSString *>)namesUpwards;

// fileTime: 100 ns since 1601-01-01 00:00 UTC (Microsoft Learn, "FILETIME structure"). A time
// before 1970 wraps around to one far in the future.
+ (NSString *)FormatFileTimeToString:(uint64_t)fileTime;

// What follows the last "." of a name, or an empty text: "archive.tar.gz" → "gz"
+ (NSString *)fileExtention:(NSString *)name;

@end

// The number of units before the first zero unit; 0 for a null pointer.
size_t utf16Length(const char16_t *units);
