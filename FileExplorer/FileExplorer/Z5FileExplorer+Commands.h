// The commands of the menus for the selected rows.
//
// Threads: main thread only.
// Errors: silent; an entry without a name is left out of what is copied.
#pragma once

#import "Z5FileExplorer.h"

@interface Z5FileExplorer (Commands)

// Enabled while there is something for the command to do, and nothing lies over the window.
- (BOOL)validateMenuItem:(NSMenuItem *)item;

// The selected folders, themselves only.
- (IBAction)expandSelected:(id)sender;
- (IBAction)collapseSelected:(id)sender;

// Onto the clipboard, a line for each selected row: its name; its path on the volume, "/Reports/a".
- (IBAction)copyNames:(id)sender;
- (IBAction)copyPaths:(id)sender;

@end
