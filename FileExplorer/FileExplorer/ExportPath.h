// Where an exported file lands below the destination.
#pragma once

#import <Foundation/Foundation.h>

// A volume path as a local one, every backslash read as "/": "/a/b\\c" → "/a/b/c"
NSString *LocalPathFromVolumePath(NSString *path);

// Whether a path has a ".." among its components, and so could leave the folder it starts in.
bool PathClimbs(NSString *path);
