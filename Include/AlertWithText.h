// The alert of the program's message boxes and sheets: "OK" is its only button.
//
// The text takes the place of the informative text's format and has no arguments, so a "%" in it
// is read as a format directive. Returns an autoreleased alert. Main thread only.
#pragma once

#import <AppKit/AppKit.h>

NSAlert *AlertWithText(NSString *text, NSString *title);
