#include "CoreFoundation.h"

#import <Foundation/Foundation.h>

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style)
{
    if (url == nullptr || style != kCFURLPOSIXPathStyle)
        return nullptr;
    NSString *path = [(NSURL *)url path];
    while ([path length] > 1 && [path hasSuffix:@"/"])
        path = [path substringToIndex:[path length] - 1];
    return (CFStringRef)[path copy];
}

void CFRelease(CFTypeRef reference)
{
    [(id)reference release];
}
