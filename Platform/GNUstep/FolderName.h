// Asks for the name of a new folder. Main thread only.
#pragma once

#import <Foundation/Foundation.h>

namespace vx {

// Whether one folder can have the name.
bool isFolderName(NSString *name);

// Runs a window of its own; nil if the user cancels.
NSString *askForFolderName();

}  // namespace vx
