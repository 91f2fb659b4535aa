// The export command: lets the user choose a folder in a sheet, and exports the selection to it
// under a modal progress window.
#pragma once

#import "Z5FileExplorer.h"

@interface Z5FileExplorer (Export)

// The action of the Export button. Returns when the sheet is up, where sheets do not block.
- (IBAction)onClickedExport:(id)sender;

@end
