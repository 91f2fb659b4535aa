#import "CountedRows.h"

namespace {

NSString *const kFolder = @"folder";

}  // namespace

@implementation CountedRows

- (id)initWithCount:(NSUInteger)count
{
    self = [super init];
    if (self == nil)
        return nil;
    _items = [[NSMutableArray alloc] initWithCapacity:count];
    for (NSUInteger i = 0; i < count; ++i) {
        NSObject *item = [[NSObject alloc] init];
        [_items addObject:item];
        [item release];
    }
    return self;
}

- (void)dealloc
{
    [_items release];
    [super dealloc];
}

- (NSInteger)outlineView:(NSOutlineView *)view numberOfChildrenOfItem:(id)item
{
    return item == nil ? 1 : static_cast<NSInteger>([_items count]);
}

- (id)outlineView:(NSOutlineView *)view child:(NSInteger)index ofItem:(id)item
{
    return item == nil ? kFolder : [_items objectAtIndex:static_cast<NSUInteger>(index)];
}

- (BOOL)outlineView:(NSOutlineView *)view isItemExpandable:(id)item
{
    return item == kFolder;
}

- (id)outlineView:(NSOutlineView *)view
    objectValueForTableColumn:(NSTableColumn *)column
                       byItem:(id)item
{
    return @"row";
}

@end
