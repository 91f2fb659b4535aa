#import "Z5FileExplorer+Commands.h"

#include "ThreadChecks.h"
#import "Z5FileExplorer+Export.h"
#import "Z5FindData.h"

#include <objc/runtime.h>

namespace {

void putOnClipboard(NSArray *lines)
{
    NSPasteboard *clipboard = [NSPasteboard generalPasteboard];
    [clipboard declareTypes:[NSArray arrayWithObject:NSStringPboardType] owner:nil];
    [clipboard setString:[lines componentsJoinedByString:@"\n"] forType:NSStringPboardType];
}

}  // namespace

@implementation Z5FileExplorer (Commands)

- (BOOL)validateMenuItem:(NSMenuItem *)item
{
    AssertMainThread();
    NSWindow *window = [[self view] window];
    if (![_btnExport isEnabled] || [NSApp modalWindow] != nil || [window attachedSheet] != nil)
        return NO;
    if (sel_isEqual([item action], @selector(expandSelected:)))
        return [[self selectedFoldersThatAreOpen:NO] count] > 0;
    if (sel_isEqual([item action], @selector(collapseSelected:)))
        return [[self selectedFoldersThatAreOpen:YES] count] > 0;
    return YES;
}

- (NSArray *)selectedFoldersThatAreOpen:(BOOL)open
{
    NSMutableArray *folders = [NSMutableArray array];
    for (Z5FindData *entry in _selectedFiles)
        if ([entry bDirectory] && [_outlineView isItemExpanded:entry] == open)
            [folders addObject:entry];
    return folders;
}

- (IBAction)expandSelected:(id)sender
{
    AssertMainThread();
    for (Z5FindData *folder in [self selectedFoldersThatAreOpen:NO])
        [_outlineView expandItem:folder];
}

- (IBAction)collapseSelected:(id)sender
{
    AssertMainThread();
    for (Z5FindData *folder in [self selectedFoldersThatAreOpen:YES])
        [_outlineView collapseItem:folder];
}

- (IBAction)copyNames:(id)sender
{
    AssertMainThread();
    NSMutableArray *names = [NSMutableArray array];
    for (Z5FindData *entry in _selectedFiles)
        if ([entry strFileName] != nil)
            [names addObject:[entry strFileName]];
    putOnClipboard(names);
}

- (IBAction)copyPaths:(id)sender
{
    AssertMainThread();
    NSMutableArray *paths = [NSMutableArray array];
    for (Z5FindData *entry in _selectedFiles) {
        NSString *path = [Z5FileExplorerWapper fullPath:entry withfilter:nil];
        if (path != nil)
            [paths addObject:path];
    }
    putOnClipboard(paths);
}

@end
