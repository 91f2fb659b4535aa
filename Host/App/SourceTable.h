// The table of what can be opened: the arrow keys pass over rows that cannot be selected.
//
// Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface SourceTable : NSTableView
@end
