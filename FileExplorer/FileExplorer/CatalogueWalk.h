// Goes through all that lies below some entries, folders before what they hold: for the engine's
// plan and for whatever looks at what an export leaves out.
//
// Threads: main thread, since folders that were not listed before are listed now. Memory: folders
// wait on a stack of the walk's own, because a volume may nest them deeper than the thread's stack
// goes; the depth is limited by the catalogue alone.
#pragma once

#import <Foundation/Foundation.h>

#include <functional>

#import "Z5FileExplorerWapper.h"

namespace vx {

// isUnlistable: a folder that holds something, or may, and could not be entered.
using EntryVisitor = std::function<void(Z5FindData *entry, bool isUnlistable)>;

// Visits each entry once, in the volume's order. Folders named "", "." and ".." are not entered.
void WalkCatalogue(Z5FileExplorerWapper *explorer, NSArray *entries, const EntryVisitor &visit);

// Whether the name is "." or "..": nothing is lost when such a folder is not entered.
bool IsSelfOrParent(Z5FindData *folder);

}  // namespace vx
