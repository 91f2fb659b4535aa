// The tree's outline view. When it enters a window it loads its rows and takes the keyboard: the
// volume is opened after the interface file was loaded, when a platform may already have asked
// for the rows and found none. A double click on a folder's row opens or closes it. A right
// click shows the menu of the selected rows, to which a row that is clicked then belongs; the
// command "copy:" goes to the delegate as "copyNames:".
//
// Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface TreeOutlineView : NSOutlineView
@end
