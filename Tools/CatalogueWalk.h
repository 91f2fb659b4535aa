// Goes through all that lies below some entries, folders before what they hold.
#pragma once

#import <Foundation/Foundation.h>

#include <functional>

#import "Z5FileExplorerWapper.h"

namespace vx {

// isUnlistable: a folder that holds something, or may, and could not be entered.
using EntryVisitor = std::function<void(Z5FindData *entry, bool isUnlistable)>;

// Each entry is visited once, in the volume's order; folders that were not listed are listed
// now. Main thread. The depth is limited by the catalogue alone.
void WalkCatalogue(Z5FileExplorerWapper *explorer, NSArray *entries, const EntryVisitor &visit);

}  // namespace vx
