#import "CellTest.h"

@implementation CellView

- (id)initWithCell:(NSCell *)cell frame:(NSRect)cellFrame flipped:(BOOL)flipped
{
    self = [super initWithFrame:NSMakeRect(0, 0, 200, 60)];
    if (self == nil)
        return nil;
    _cell = [cell retain];
    _cellFrame = cellFrame;
    _flipped = flipped;
    return self;
}

- (void)dealloc
{
    [_cell release];
    [super dealloc];
}

- (BOOL)isFlipped
{
    return _flipped;
}

- (void)drawRect:(NSRect)rect
{
    [[NSColor colorWithCalibratedRed:0 green:1 blue:0 alpha:1] set];
    NSRectFill([self bounds]);
    [_cell drawWithFrame:_cellFrame inView:self];
}

@end

NSImage *ImageOf(NSColor *color, CGFloat size)
{
    NSImage *image = [[[NSImage alloc] initWithSize:NSMakeSize(size, size)] autorelease];
    [image lockFocus];
    [color set];
    NSRectFill(NSMakeRect(0, 0, size, size));
    [image unlockFocus];
    return image;
}
