#import "Z5MessageBox.h"

#import "AlertWithText.h"
#include "ThreadChecks.h"

namespace {

void runAlert(NSString *message, NSString *title, NSString *imageName)
{
    NSAlert *alert = AlertWithText(message, title);
    [alert setIcon:[NSImage imageNamed:imageName]];
    [alert runModal];
}

}  // namespace

@implementation Z5MessageBox

+ (void)showWarningMessageBox:(NSString *)message withTitle:(NSString *)title
{
    AssertMainThread();
    runAlert(message, title, @"warning");
}

+ (void)showSuccessMessageBox:(NSString *)message withTitle:(NSString *)title
{
    AssertMainThread();
    [NSApp activateIgnoringOtherApps:YES];
    runAlert(message, title, @"success");
}

@end
