#import "SelectionLine.h"

#include "ThreadChecks.h"
#import "Z5FindData.h"

namespace {

NSString *localized(NSString *key)
{
    return [[NSBundle mainBundle] localizedStringForKey:key value:key table:nil];
}

NSString *countText(NSUInteger count)
{
    if (count == 1)
        return localized(@"IDS_SELECTION_ONE");
    return [NSString stringWithFormat:localized(@"IDS_SELECTION_MANY"), static_cast<int>(count)];
}

NSString *sizeText(double bytes)
{
    if (bytes >= 0x1p30)
        return [NSString stringWithFormat:@"%0.1f GB", bytes * 0x1p-30];
    if (bytes >= 0x1p20)
        return [NSString stringWithFormat:@"%0.1f MB", bytes * 0x1p-20];
    if (bytes >= 0x1p10)
        return [NSString stringWithFormat:@"%0.1f KB", bytes * 0x1p-10];
    return [NSString stringWithFormat:@"%0.0f byte", bytes];
}

NSString *withSize(NSString *count, NSString *size, NSUInteger files, NSUInteger entries)
{
    if (files == entries)
        return [NSString stringWithFormat:localized(@"IDS_SELECTION_WITH_SIZE"), count, size];
    if (files == 1)
        return [NSString stringWithFormat:localized(@"IDS_SELECTION_SIZE_OF_ONE"), count, size];
    return [NSString stringWithFormat:localized(@"IDS_SELECTION_SIZE_OF_MANY"), count, size,
                                      static_cast<int>(files)];
}

}  // namespace

NSString *selectionText(NSArray *entries)
{
    NSUInteger files = 0;
    // A sum of any number of sizes, each up to 2^64, fits.
    double bytes = 0;
    for (Z5FindData *entry in entries) {
        if ([entry bDirectory])
            continue;
        ++files;
        bytes += static_cast<double>(static_cast<uint64_t>([entry nFileSize]));
    }
    if ([entries count] == 0)
        return @"";
    NSString *count = countText([entries count]);
    if (files == 0)
        return count;
    return withSize(count, sizeText(bytes), files, [entries count]);
}

@implementation SelectionLine

@synthesize tree = _tree;

- (void)dealloc
{
    AssertMainThread();
    [[NSNotificationCenter defaultCenter] removeObserver:self];
    [_tree release];
    [super dealloc];
}

- (void)awakeFromNib
{
    AssertMainThread();
    NSNotificationCenter *center = [NSNotificationCenter defaultCenter];
    [center removeObserver:self];
    [center addObserver:self
               selector:@selector(selectionDidChange:)
                   name:NSOutlineViewSelectionDidChangeNotification
                 object:_tree];
}

- (void)selectionDidChange:(NSNotification *)notification
{
    AssertMainThread();
    NSIndexSet *rows = [_tree selectedRowIndexes];
    NSMutableArray *entries = [NSMutableArray arrayWithCapacity:[rows count]];
    for (NSUInteger row = [rows firstIndex]; row != NSNotFound;
         row = [rows indexGreaterThanIndex:row]) {
        id item = [_tree itemAtRow:static_cast<NSInteger>(row)];
        if ([item isKindOfClass:[Z5FindData class]])
            [entries addObject:item];
    }
    [self setStringValue:selectionText(entries)];
}

@end
