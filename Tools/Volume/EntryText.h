// Paths and names of catalogue entries in the forms that the program needs.
#pragma once

#import <Foundation/Foundation.h>

#include <string>

#import "Z5FindData.h"

namespace vx {

// The volume path in UTF-16; empty if a name on the way is no text.
std::u16string VolumePathOf(Z5FindData *entry);

// The volume path as it may be shown. An entry whose name is no text is shown as its folder's
// path with "/?".
std::string ShownPathOf(Z5FindData *entry);

}  // namespace vx
