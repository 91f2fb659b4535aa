// Closing a folder takes its rows out in one go. They lie below the folder, next to each other; the
// library looks each of them up from the top, which for tens of thousands of rows takes seconds.
// Entries of an open folder inside a closed one have no row; the library would show them when a
// folder further up is opened again. A category takes the place of the library's methods for every
// tree. Main thread.
#import <AppKit/AppKit.h>

#include <algorithm>

@interface NSOutlineView (LibraryOwn)
- (void)_collectItemsStartingWith:(id)item into:(NSMutableArray *)items;
- (void)_noteNumberOfRowsChangedBelowItem:(id)item by:(NSInteger)count;
@end

@implementation NSOutlineView (Rows)

// What has a row while the item itself has one, in the order of the rows.
- (void)_collectItemsStartingWith:(id)item into:(NSMutableArray *)items
{
    if (![self isItemExpanded:item])
        return;
    const id key = item == nil ? [NSNull null] : item;
    for (id child in static_cast<NSArray *>(NSMapGet(_itemDict, key))) {
        [items addObject:child];
        [self _collectItemsStartingWith:child into:items];
    }
}

- (void)_closeItem:(id)item
{
    NSMutableArray *below = [NSMutableArray array];
    [self _collectItemsStartingWith:item into:below];
    [_expandedItems removeObjectIdenticalTo:item];
    const NSUInteger row = [_items indexOfObjectIdenticalTo:item];
    if (row == NSNotFound)
        return;
    const NSUInteger count = std::min([below count], [_items count] - row - 1);
    [_items removeObjectsInRange:NSMakeRange(row + 1, count)];
    [self _noteNumberOfRowsChangedBelowItem:item by:-static_cast<NSInteger>(count)];
}

@end
