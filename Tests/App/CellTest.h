// What the suites of the cells share: a view that draws one cell, flipped or not, on green.
#pragma once

#import <AppKit/AppKit.h>

@interface CellView : NSView {
    NSCell *_cell;
    NSRect _cellFrame;
    BOOL _flipped;
}
- (id)initWithCell:(NSCell *)cell frame:(NSRect)cellFrame flipped:(BOOL)flipped;
@end

// An image of one colour.
NSImage *ImageOf(NSColor *color, CGFloat size);
