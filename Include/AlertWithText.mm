#import "AlertWithText.h"

#include "ThreadChecks.h"

// The text is the format on purpose.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wformat-security"
#pragma clang diagnostic ignored "-Wformat-nonliteral"

NSAlert *AlertWithText(NSString *text, NSString *title)
{
    AssertMainThread();
    return [NSAlert alertWithMessageText:title
                           defaultButton:@"OK"
                         alternateButton:nil
                             otherButton:nil
               informativeTextWithFormat:text];
}

#pragma clang diagnostic pop
