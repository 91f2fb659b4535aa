// The list at the left: attached disks with their volumes, and the images that were opened last.
//
// It follows disks that come and go; the selection stays on its path. The paths of images are kept
// in the user defaults, under "RecentImages".
// Ownership: the interface file makes it; it keeps its outlet and borrows its delegate and the
// listing. Threads: main thread; the disks are listed on another.
#pragma once

#import <AppKit/AppKit.h>

#include "HostServices.h"

@class SourceList;

@protocol SourceListDelegate
// As the system has the path; empty: nothing is chosen.
- (void)sourceList:(SourceList *)list didChoose:(const std::string &)path;
// The chosen row has gone away; nothing is chosen now.
- (void)sourceList:(SourceList *)list didLose:(const std::string &)path;
@end

struct SourceListState;

@interface SourceList : NSObject {
    NSTableView *_tableView;
    id<SourceListDelegate> _delegate;
    SourceListState *_state;
}

@property (retain) IBOutlet NSTableView *tableView;
@property (assign) id<SourceListDelegate> delegate;

// Lists what is attached, and goes on listening for changes.
- (void)begin:(vx::DiskListing *)disks;
- (void)end;
// Whether a thread looks for disks. It may go on for a while after the end.
- (BOOL)isListing;

- (void)choosePath:(const std::string &)path;
// What is chosen was opened: an image comes first in the list, a disk is not remembered.
- (void)rememberChosen;

@end
