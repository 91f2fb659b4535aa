// Finds the volume library at run time, loads it and calls its one entry.
//
// The library lies in the folder that holds the program's main bundle. It is loaded at the
// first call that needs it and stays loaded until the process ends, as does its entry, which
// every wrapper of the process shares.
// Threads: main thread, at start-up.
#pragma once

#import <Foundation/Foundation.h>

#include <cstdint>

#include "IVolume.h"

class CBitlockerWrapper {
public:
    // Computes the library's path; nothing is loaded yet.
    CBitlockerWrapper();
    ~CBitlockerWrapper();
    CBitlockerWrapper(const CBitlockerWrapper &) = delete;
    CBitlockerWrapper &operator=(const CBitlockerWrapper &) = delete;

    // Calls the library's entry with the three UTF-8 texts, unchanged. The volume that the
    // entry stores belongs to the library. status receives the entry's result and may be null.
    // Returns false, with both outputs untouched, if the library or its entry was not found,
    // and otherwise true, whatever the entry returned.
    bool openBitlockerDevice(const char *first, const char *second, const char *third,
                             IVolume **volume, int32_t *status);

    // Where the library is looked for; lives as long as the wrapper.
    NSString *libraryPath() const { return _strLibraryPath; }

private:
    NSString *_strLibraryPath;
};
