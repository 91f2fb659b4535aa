// Paths and names of catalogue entries in the forms that the tool needs.
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

// Whether the catalogue enters the folder when it looks for files below: not "", "." and "..".
bool IsEntered(Z5FindData *folder);

// Whether the name is "." or "..": nothing is lost when such a folder is not entered.
bool IsSelfOrParent(Z5FindData *folder);

}  // namespace vx
