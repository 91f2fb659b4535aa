#import "Z5FileExplorer.h"

#import "ImageAndTextCell.h"
#include "ThreadChecks.h"
#import "Z5FindData.h"

namespace {

// The columns are identified by their titles.
NSString *const kFileName = @"File Name";
NSString *const kDateModified = @"Date Modified";
NSString *const kSize = @"Size";

NSString *titleOf(NSTableColumn *column)
{
    return [[column headerCell] stringValue];
}

// nil for anything but an entry; nil has no texts and is no folder.
Z5FindData *entryFrom(id item)
{
    return [item isKindOfClass:[Z5FindData class]] ? item : nil;
}

// "Kind" and columns of any other title stay empty, and so does "Size" for a folder.
NSString *textOf(Z5FindData *entry, NSString *title)
{
    if ([title isEqualToString:kFileName])
        return [entry strFileName];
    if ([title isEqualToString:kDateModified])
        return [entry strModifiedDateTime];
    if (![entry bDirectory] && [title isEqualToString:kSize])
        return [entry strFileSize];
    return nil;
}

NSImage *iconOf(Z5FindData *entry)
{
    if ([entry bDirectory])
        return [NSImage imageNamed:@"folder"];
    NSString *type = [Z5FindData fileExtention:[entry strFileName]];
    return [[NSWorkspace sharedWorkspace] iconForFileType:type];
}

}  // namespace

@implementation Z5FileExplorer

@synthesize outlineView = _outlineView;
@synthesize progressBar = _progressBar;
@synthesize fileLable = _fileLable;
@synthesize btnExport = _btnExport;

- (id)init
{
    AssertMainThread();
    self = [super init];
    if (self != nil)
        [self startEmpty];
    return self;
}

- (id)initWithNibName:(NSString *)name bundle:(NSBundle *)bundle
{
    AssertMainThread();
    self = [super initWithNibName:name bundle:bundle];
    if (self != nil)
        [self startEmpty];
    return self;
}

- (void)startEmpty
{
    _explorerWapper = nil;
    _bFinishedInit = NO;
}

- (void)dealloc
{
    AssertMainThread();
    [_outlineView setDataSource:nil];
    [_outlineView setDelegate:nil];
    [_outlineView release];
    [_progressBar release];
    [_fileLable release];
    [_btnExport release];
    [_explorerWapper release];
    [_selectedFiles release];
    [_openPanel release];
    [super dealloc];
}

- (BOOL)setVolumeObject:(IVolume *)volume
{
    AssertMainThread();
    Z5FileExplorerWapper *explorer = [[Z5FileExplorerWapper alloc] initWithVolumeObject:volume];
    [_explorerWapper release];
    _explorerWapper = explorer;
    return _explorerWapper != nil;
}

// Called more than once: an interface file may be awoken again with the same controller.
- (void)awakeFromNib
{
    AssertMainThread();
    if (!_bFinishedInit)
        _bFinishedInit = [self finishInitialize];
    [_outlineView registerForDraggedTypes:[NSArray arrayWithObject:NSFilenamesPboardType]];
}

- (BOOL)finishInitialize
{
    AssertMainThread();
    // Cast, because one platform's protocols require more than a tree needs.
    [_outlineView setDataSource:(id)self];
    [_outlineView setDelegate:(id)self];
    [_outlineView setAllowsColumnReordering:NO];
    [_fileLable setHidden:YES];
    [_progressBar setHidden:YES];
    [_btnExport setEnabled:NO];
    return YES;
}

- (id)outlineView:(NSOutlineView *)view child:(NSInteger)index ofItem:(id)item
{
    AssertMainThread();
    const NSUInteger at = static_cast<NSUInteger>(index);
    if (item == nil)
        return [[_explorerWapper rootDirectory] objectAtIndex:at];
    return [[_explorerWapper findFiles:item] objectAtIndex:at];
}

- (BOOL)outlineView:(NSOutlineView *)view isItemExpandable:(id)item
{
    AssertMainThread();
    return [entryFrom(item) bDirectory];
}

- (NSInteger)outlineView:(NSOutlineView *)view numberOfChildrenOfItem:(id)item
{
    AssertMainThread();
    if (item != nil && entryFrom(item) == nil)
        return 0;
    NSArray *root = item == nil ? [_explorerWapper rootDirectory] : nil;
    NSArray *children = root != nil ? root : [_explorerWapper findFiles:item];
    return static_cast<NSInteger>([children count]);
}

- (id)outlineView:(NSOutlineView *)view
    objectValueForTableColumn:(NSTableColumn *)column
                       byItem:(id)item
{
    AssertMainThread();
    if (item == nil)
        return nil;
    NSString *text = textOf(entryFrom(item), titleOf(column));
    return text == nil ? @"" : text;
}

- (void)outlineView:(NSOutlineView *)view
    willDisplayCell:(id)cell
     forTableColumn:(NSTableColumn *)column
               item:(id)item
{
    AssertMainThread();
    if ([titleOf(column) isEqualToString:kFileName])
        [cell setImage:iconOf(entryFrom(item))];
}

- (BOOL)outlineView:(NSOutlineView *)view shouldSelectItem:(id)item
{
    AssertMainThread();
    return YES;
}

- (void)outlineViewSelectionDidChange:(NSNotification *)notification
{
    AssertMainThread();
    NSIndexSet *rows = [_outlineView selectedRowIndexes];
    if (rows == nil)
        return;
    if (_selectedFiles == nil)
        _selectedFiles = [[NSMutableArray alloc] init];
    [_selectedFiles removeAllObjects];
    for (NSUInteger row = [rows firstIndex]; row != NSNotFound;
         row = [rows indexGreaterThanIndex:row]) {
        id item = [_outlineView itemAtRow:static_cast<NSInteger>(row)];
        if (item != nil)
            [_selectedFiles addObject:item];
    }
    [_btnExport setEnabled:[rows count] > 0];
}

@end
