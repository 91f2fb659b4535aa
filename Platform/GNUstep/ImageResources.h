// The application's pictures with their versions for finer screens: GNUstep knows nothing of
// "name@2x.png". Main thread.
#pragma once

#import <AppKit/AppKit.h>

namespace vx {

// The picture of a file type's kind: 16 by 16 points, with finer versions and the larger drawing of
// 32 points inside, from which each use takes what fits. Owned by the caller; nil when the main
// bundle has no such picture.
NSImage *newFileTypeImage(NSString *name);

// Gives the named picture of the main bundle the representation of its "@2x" file, if it has one.
void addDoubleSize(NSString *name);

// Leaves the library with the formats that it decodes itself, PNG and TIFF among them, for the rest
// of the process. Call it before the application object exists.
void keepBuiltInFormatsOnly();

}  // namespace vx
