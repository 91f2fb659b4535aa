// Icons by file type: the library knows only those of its own registered applications and shows one
// "unknown" picture for everything else, nothing at all for "". Here every type has an icon, one
// image per kind, made on first use and kept. A category takes the place of the library's method:
// in this runtime the category loaded last wins, which is the program's. Main thread.
#include "FileTypeKinds.h"
#include "ImageResources.h"

#import <AppKit/AppKit.h>

namespace {

NSImage *imageOfKind(vx::FileTypeKind kind)
{
    static NSImage *images[vx::kFileTypeKindCount];
    NSImage *&image = images[static_cast<int>(kind)];
    if (image == nil)
        image = vx::newFileTypeImage([NSString stringWithUTF8String:vx::imageNameOfKind(kind)]);
    return image;
}

}  // namespace

@implementation NSWorkspace (FileTypeIcons)

- (NSImage *)iconForFileType:(NSString *)type
{
    const char *extension = [type UTF8String];
    NSImage *image = imageOfKind(vx::kindOfFileType(extension == nullptr ? "" : extension));
    return image != nil ? image : [NSImage imageNamed:@"NSUnknown"];
}

@end
