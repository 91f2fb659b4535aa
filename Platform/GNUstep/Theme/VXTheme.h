// The look of the program under X11: neutral and flat, in light or dark colours. GSTheme loads it
// from FileExplorer.theme in the application's resources and then asks it for every drawing; what
// is not overridden keeps the library's look. The drawings lie in categories by kind of control.
// Main thread only.
#pragma once

#import <GNUstepGUI/GSTheme.h>

@interface VXTheme : GSTheme {
    NSColorList *_systemColors;
    NSDictionary *_darkInformation;
}
@end
