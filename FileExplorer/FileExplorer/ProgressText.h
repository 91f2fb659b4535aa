// The texts of the progress window, from the formats of the application's strings table.
#pragma once

#import <Foundation/Foundation.h>

#include <cstdint>

// The line that names a file: its volume path, shortened to its first 9 and last 10 characters
// (UTF-16 units) from 21 characters on.
NSString *FileLineText(NSString *path);

// The line below the bar. percent: of the whole export; elapsed: seconds since the current file
// was first shown; total: MiB. The estimate spreads the time of the current file alone over all
// that remains.
NSString *ProgressLineText(double percent, int64_t elapsed, double total);
