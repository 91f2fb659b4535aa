#include "StartMessages.h"

#include "ThreadChecks.h"

#import <Foundation/Foundation.h>

namespace vx {
namespace {

NSLog_printf_handler *libraryHandler = nullptr;

void writeUnlessOfDecorations(NSString *message)
{
    if ([message rangeOfString:@"Failed to determine offsets for style"].length == 0)
        libraryHandler(message);
}

}  // namespace

StartMessages::StartMessages()
{
    AssertMainThread();
    libraryHandler = _NSLog_printf_handler;
    _NSLog_printf_handler = writeUnlessOfDecorations;
}

StartMessages::~StartMessages()
{
    AssertMainThread();
    _NSLog_printf_handler = libraryHandler;
}

}  // namespace vx
