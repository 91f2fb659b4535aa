#import "GalleryController.h"
#import "VXApplication.h"

int main(int argc, char **argv)
{
    NSAutoreleasePool *pool = [NSAutoreleasePool new];
    [VXApplication sharedApplication];
    GalleryController *gallery = [GalleryController new];
    [NSApp setDelegate:(id)gallery];
    [gallery show:argc > 1 ? [NSString stringWithUTF8String:argv[1]] : @"window"];
    [NSApp run];
    [gallery release];
    [pool release];
    return 0;
}
