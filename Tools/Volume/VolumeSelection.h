// Finds the entries that paths on the command line name.
//
// A path is absolute from the volume's root; the leading "/" may be missing and a trailing one
// is ignored. Names match exactly, unit by unit. Main thread.
#pragma once

#import <Foundation/Foundation.h>

#include <string>
#include <vector>

#import "Z5FileExplorerWapper.h"

namespace vx {

// entry receives the path's entry, nil for the root. False: error says why in one line.
bool FindEntry(Z5FileExplorerWapper *explorer, const std::string &path, Z5FindData **entry,
               std::string *error);

// The entries of all paths, of the root for none, in their order. An entry that is named twice,
// or that lies in another one, is in the result only once. nil: error says why in one line.
NSArray *SelectEntries(Z5FileExplorerWapper *explorer, const std::vector<std::string> &paths,
                       std::string *error);

}  // namespace vx
