#import "CatalogueWalk.h"

#include "ThreadChecks.h"

#include <vector>

namespace vx {
namespace {

struct Place {
    NSArray *entries;
    NSUInteger next;
};

bool IsEntered(Z5FindData *folder)
{
    return [[folder strFileName] length] > 0 && !IsSelfOrParent(folder);
}

// The entry's children, or nil; a folder's own list is kept by the folder.
NSArray *VisitEntry(Z5FileExplorerWapper *explorer, Z5FindData *entry, const EntryVisitor &visit)
{
    @autoreleasepool {
        if (![entry bDirectory] || IsSelfOrParent(entry)) {
            visit(entry, false);
            return nil;
        }
        NSArray *children = IsEntered(entry) ? [explorer findFiles:entry] : nil;
        visit(entry, children == nil);
        return children;
    }
}

}  // namespace

void WalkCatalogue(Z5FileExplorerWapper *explorer, NSArray *entries, const EntryVisitor &visit)
{
    AssertMainThread();
    std::vector<Place> places = {{entries, 0}};
    while (!places.empty()) {
        Place &place = places.back();
        if (place.next == [place.entries count]) {
            places.pop_back();
            continue;
        }
        NSArray *children = VisitEntry(explorer, [place.entries objectAtIndex:place.next++], visit);
        if (children != nil)
            places.push_back({children, 0});
    }
}

bool IsSelfOrParent(Z5FindData *folder)
{
    NSString *name = [folder strFileName];
    return [name isEqualToString:@"."] || [name isEqualToString:@".."];
}

}  // namespace vx
