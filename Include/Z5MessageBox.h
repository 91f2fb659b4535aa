// Message boxes that stop the application until the user presses "OK".
//
// A "%" in a message is read as the format directive of the alert's informative text.
// Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface Z5MessageBox : NSObject

// With the image named "warning".
+ (void)showWarningMessageBox:(NSString *)message withTitle:(NSString *)title;

// Brings the application to the front first; with the image named "success".
+ (void)showSuccessMessageBox:(NSString *)message withTitle:(NSString *)title;

@end
