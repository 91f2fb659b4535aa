#include "ImageResources.h"

#include "ThreadChecks.h"

namespace vx {
namespace {

// The size in points makes a file of 32 pixels a picture of 16 points for a screen twice as fine.
void addFile(NSImage *image, NSString *name, CGFloat points)
{
    NSString *path = [[NSBundle mainBundle] pathForResource:name ofType:@"png"];
    NSImageRep *representation = path == nil ? nil : [NSImageRep imageRepWithContentsOfFile:path];
    if (representation == nil)
        return;
    [representation setSize:NSMakeSize(points, points)];
    [image addRepresentation:representation];
}

}  // namespace

NSImage *newFileTypeImage(NSString *name)
{
    AssertMainThread();
    NSImage *image = [[NSImage alloc] initWithSize:NSMakeSize(16, 16)];
    addFile(image, name, 16);
    addFile(image, [name stringByAppendingString:@"@2x"], 16);
    addFile(image, [name stringByAppendingString:@"-32"], 32);
    addFile(image, [name stringByAppendingString:@"-32@2x"], 32);
    if ([[image representations] count] > 0)
        return image;
    [image release];
    return nil;
}

void addDoubleSize(NSString *name)
{
    AssertMainThread();
    NSImage *image = [NSImage imageNamed:name];
    if (image != nil)
        addFile(image, [name stringByAppendingString:@"@2x"], [image size].width);
}

// The library uses a second library for many more formats. Listing their names loads that library's
// modules, and every picture that a theme lacks is then searched for with every extension: together
// more than half of the program's start-up time.
void keepBuiltInFormatsOnly()
{
    AssertMainThread();
    for (Class format in [[[NSImageRep registeredImageRepClasses] copy] autorelease])
        if (format != [NSBitmapImageRep class])
            [NSImageRep unregisterImageRepClass:format];
}

}  // namespace vx
