#import "ImageAndTextCell.h"

#include "ThreadChecks.h"

#include <cmath>

namespace {

constexpr CGFloat kStripWidth = 19.0;
constexpr CGFloat kIconInset = 3.0;
constexpr CGFloat kIconSize = 16.0;
// Added to the strip's origin ahead of the centring: one point above where 16 would put it.
constexpr CGFloat kIconRise = -17.0;

NSRect iconRect(NSRect strip, BOOL flipped)
{
    const CGFloat height = NSHeight(strip);
    NSRect icon =
        NSMakeRect(NSMinX(strip) + kIconInset, NSMinY(strip) + kIconRise, kIconSize, kIconSize);
    if (flipped)
        icon.origin.y += std::ceil((height + kIconSize) * 0.5);
    else
        icon.origin.y += std::ceil((height - kIconSize) * 0.5);
    return icon;
}

}  // namespace

@implementation ImageAndTextCell

- (void)dealloc
{
    [image release];
    [super dealloc];
}

- (id)copyWithZone:(NSZone *)zone
{
    AssertMainThread();
    // The base class copies the pointer but does not retain the image.
    ImageAndTextCell *copy = [super copyWithZone:zone];
    copy->image = [image retain];
    return copy;
}

- (void)setImage:(NSImage *)newImage
{
    AssertMainThread();
    if (newImage == image)
        return;
    [newImage retain];
    [image release];
    image = newImage;
}

- (NSImage *)image
{
    AssertMainThread();
    return image;
}

- (NSRect)imageFrameForCellFrame:(NSRect)cellFrame
{
    AssertMainThread();
    if (image == nil)
        return NSZeroRect;
    const NSSize size = [image size];
    return NSMakeRect(NSMinX(cellFrame) + kIconInset,
                      NSMinY(cellFrame) + std::ceil((NSHeight(cellFrame) - size.height) * 0.5),
                      size.width, size.height);
}

- (CGFloat)imageSpace
{
    return kIconInset + (image == nil ? 0.0 : [image size].width);
}

- (NSRect)textFrameForFrame:(NSRect)frame
{
    NSRect imageFrame, textFrame;
    NSDivideRect(frame, &imageFrame, &textFrame, [self imageSpace], NSMinXEdge);
    return textFrame;
}

- (void)editWithFrame:(NSRect)frame
               inView:(NSView *)view
               editor:(NSText *)editor
             delegate:(id)delegate
                event:(NSEvent *)event
{
    AssertMainThread();
    [super editWithFrame:[self textFrameForFrame:frame]
                  inView:view
                  editor:editor
                delegate:delegate
                   event:event];
}

- (void)selectWithFrame:(NSRect)frame
                 inView:(NSView *)view
                 editor:(NSText *)editor
               delegate:(id)delegate
                  start:(NSInteger)start
                 length:(NSInteger)length
{
    AssertMainThread();
    [super selectWithFrame:[self textFrameForFrame:frame]
                    inView:view
                    editor:editor
                  delegate:delegate
                     start:start
                    length:length];
}

- (void)drawWithFrame:(NSRect)frame inView:(NSView *)view
{
    AssertMainThread();
    if (image == nil) {
        [super drawWithFrame:frame inView:view];
        return;
    }
    NSRect strip, textFrame;
    NSDivideRect(frame, &strip, &textFrame, kStripWidth, NSMinXEdge);
    if ([self drawsBackground]) {
        [[self backgroundColor] set];
        NSRectFill(strip);
    }
    [image drawInRect:iconRect(strip, [view isFlipped])
              fromRect:NSZeroRect
             operation:NSCompositeSourceOver
              fraction:1.0
        respectFlipped:YES
                 hints:nil];
    [super drawWithFrame:textFrame inView:view];
}

- (NSSize)cellSize
{
    AssertMainThread();
    NSSize size = [super cellSize];
    size.width += [self imageSpace];
    return size;
}

@end
